// The simulated half of the event loop: scripted steps, and waiting that moves the virtual clock.
#include "platform/events.h"

#include <algorithm>
#include <optional>

#include "platform/sim/world.h"
#include "platform/unix/event_loop.h"

namespace vornelle {
namespace sim {
namespace {

// A loop that waits for what never comes is kept going by the program's timers. Nothing waits this long on
// purpose.
constexpr std::int64_t kLongestWait = std::int64_t{7} * 24 * 60 * 60 * 1000;

std::optional<std::int64_t> nextStop() {
  std::optional<std::int64_t> stop = loop::nextTickDue();
  const auto& steps = world().steps;
  if (!steps.empty() && (!stop || steps.begin()->first < *stop)) stop = steps.begin()->first;
  return stop;
}

}  // namespace

void advance(int milliseconds) {
  const std::int64_t end = world().now + milliseconds;
  world().idleMoves = 0;
  while (true) {
    doEvents();
    const std::optional<std::int64_t> stop = nextStop();
    if (!stop || *stop > end) break;
    // Handlers may have let time pass.
    world().now = std::max(world().now, *stop);
  }
  world().now = std::max(world().now, end);
}

void after(int milliseconds, std::function<void()> step) {
  world().idleMoves = 0;
  world().steps.emplace(world().now + milliseconds, std::move(step));
}

void requestTermination() {
  loop::post([] {
    const std::function<void()> handler = world().terminationHandler;
    if (handler) handler();
  });
}

}  // namespace sim

namespace loop {

void collectReady() {
  auto& steps = sim::world().steps;
  while (!steps.empty() && steps.begin()->first <= sim::world().now) {
    post(std::move(steps.begin()->second));
    steps.erase(steps.begin());
  }
}

void waitReady(std::optional<std::int64_t> /*nextTick*/) {
  sim::World& world = sim::world();
  const std::optional<std::int64_t> stop = sim::nextStop();
  if (!stop)
    throw sim::Deadlock("waitEvents(): no timer runs and no step is scripted, so no event can ever come");
  if (*stop <= world.now) return;
  world.idleMoves += *stop - world.now;
  if (world.idleMoves > sim::kLongestWait) {
    throw sim::Deadlock(
        "waitEvents(): waited for seven virtual days, and only the program's own timers went on");
  }
  world.now = *stop;
}

}  // namespace loop

void setTerminationHandler(std::function<void()> handler) {
  sim::world().terminationHandler = std::move(handler);
}

}  // namespace vornelle
