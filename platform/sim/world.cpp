// The one simulated world, and reset().
#include "platform/sim/world.h"

#include "platform/unix/event_loop.h"

namespace vornelle {
namespace sim {
namespace {

constexpr std::int64_t kFirstUtc = 1794707700;  // 2026-11-15 01:55:00
constexpr std::uint64_t kFirstRandom = 2026;

void setToStart(World& world) {
  world.started = world.now;
  world.utcAtStart = kFirstUtc * 1000;
  world.random = kFirstRandom;
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

}  // namespace sim

}  // namespace vornelle
