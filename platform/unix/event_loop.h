// The half of the event loop that the posix and the simulated platform share: which event is served next.
// What is ready is the platform's own knowledge; it reports that through post() and ChannelOwner::ready().
//
// 1. Posted events (a termination request, a scripted step) come first, in the order of posting.
// 2. Then sockets, in turn: one event of the socket that has waited longest.
// 3. Then timers, the one that has been due longest. What arrived during a long blocking call is therefore
//    seen before the time-out that passed meanwhile. A timer that is due waits for at most
//    kSocketEventsBeforeTick socket events.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>

#include "platform/common/socket_events.h"

namespace vornelle::loop {

void post(std::function<void()> event);
void clearPosted();

// Serves the next event; false when nothing is ready.
bool serveOne();

// ---- timers, on the clock of monotonicMilliseconds() ----
[[nodiscard]] std::optional<std::int64_t> nextTickDue();
bool serveTick();  // false when no timer is due
void restartAllTimers();

// ---- implemented by the platform ----
// Reports what has become ready. Never blocks.
void collectReady();
// Blocks until collectReady() may have something to report or the given time has come.
void waitReady(std::optional<std::int64_t> nextTick);

}  // namespace vornelle::loop
