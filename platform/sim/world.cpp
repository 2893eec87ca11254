// The virtual clock, the scripted steps and the loop's view of them; reset().
#include "platform/sim/world.h"

#include <filesystem>
#include <optional>
#include <system_error>

#include "platform/events.h"
#include "platform/random.h"
#include "platform/shared/event_loop.h"
#include "platform/sim/application_folder.h"

namespace vornelle {
namespace sim {
namespace {

constexpr std::int64_t kFirstUtc = 1794707700;  // 2026-11-15 01:55:00
constexpr std::uint64_t kFirstRandom = 2026;
// A loop that waits for what never comes is kept going by the program's timers. Nothing waits this long on
// purpose.
constexpr std::int64_t kLongestWait = std::int64_t{7} * 24 * 60 * 60 * 1000;

void setToStart(World& world) {
  world.started = world.now;
  world.utcAtStart = kFirstUtc * 1000;
  world.random = kFirstRandom;
}

std::optional<std::int64_t> nextStop() {
  std::optional<std::int64_t> stop = loop::nextTickDue();
  const auto& steps = world().steps;
  if (!steps.empty() && (!stop || steps.begin()->first < *stop)) stop = steps.begin()->first;
  return stop;
}

}  // namespace

// Never destroyed: static timers and sockets of the program are torn down after it.
World& world() {
  static World* const instance = [] {
    auto* const made = new World;
    setToStart(*made);
    return made;
  }();
  return *instance;
}

void reset() {
  loop::forgetAllSockets();
  loop::clearPosted();
  World& old = world();
  World fresh;
  fresh.now = old.now;
  setToStart(fresh);
  old = std::move(fresh);
  loop::restartAllTimers();
  freshApplicationFolder();
}

void setUtc(std::int64_t seconds) {
  world().utcAtStart = seconds * 1000 - elapsedMilliseconds();
}

std::int64_t elapsedMilliseconds() {
  return world().now - world().started;
}

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

void setRandomSeed(std::uint64_t seed) {
  world().random = seed;
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

void pause(int milliseconds) {
  if (milliseconds > 0) sim::world().now += milliseconds;
}

void setTerminationHandler(std::function<void()> handler) {
  sim::world().terminationHandler = std::move(handler);
}

std::int64_t monotonicMilliseconds() {
  return sim::world().now;
}

std::int64_t utcNow() {
  const std::int64_t milliseconds = sim::world().utcAtStart + sim::elapsedMilliseconds();
  const std::int64_t seconds = milliseconds / 1000;
  return milliseconds % 1000 < 0 ? seconds - 1 : seconds;
}

bool fillRandom(void* buffer, std::size_t size) {
  auto* const bytes = static_cast<unsigned char*>(buffer);
  for (std::size_t i = 0; i < size; ++i) {
    // splitmix64
    std::uint64_t z = sim::world().random += 0x9e3779b97f4a7c15;
    z = (z ^ z >> 30) * 0xbf58476d1ce4e5b9;
    z = (z ^ z >> 27) * 0x94d049bb133111eb;
    bytes[i] = static_cast<unsigned char>((z ^ z >> 31) & 0xFF);
  }
  return true;
}

}  // namespace vornelle
