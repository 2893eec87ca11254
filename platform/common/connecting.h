// The way to a server, as every real platform goes it: look the name up, then try its addresses in turn, all within one
// time-out.
#pragma once

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>

#include "platform/clock.h"

namespace vornelle {

// Does work that the system sets no bound to, such as a look-up of a name: true when it is done before the time (of
// monotonicMilliseconds()) has come. It is done on a thread of its own, which is left to end by itself where it takes
// longer; so the work may touch nothing but what it shares with its caller by a counted reference.
inline bool doneInTime(std::function<void()> work, std::int64_t until) {
  struct Progress {
    std::mutex mutex;
    std::condition_variable changed;
    bool done = false;
  };
  const auto progress = std::make_shared<Progress>();
  try {
    std::thread([progress, work = std::move(work)] {
      work();
      const std::lock_guard lock(progress->mutex);
      progress->done = true;
      progress->changed.notify_all();
    }).detach();
  } catch (const std::system_error&) {
    return false;  // no room for a thread
  }
  const std::chrono::milliseconds left(std::max<std::int64_t>(until - monotonicMilliseconds(), 0));
  std::unique_lock lock(progress->mutex);
  return progress->changed.wait_for(lock, left, [&] { return progress->done; });
}

// Tries the addresses of a list (linked by ai_next) until `connect` (address, time it has to be done by) brings
// something. Each address gets its share of the time that is left, so that a dead one does not use up the others'.
template <typename Address, typename Connect>
auto connectInTurn(const Address* first, std::int64_t end, Connect connect)
    -> decltype(connect(*first, end)) {
  int left = 0;
  for (const Address* address = first; address; address = address->ai_next) ++left;
  for (const Address* address = first; address; address = address->ai_next, --left) {
    const std::int64_t now = monotonicMilliseconds();
    if (now >= end && address != first) break;
    auto connected = connect(*address, now + std::max<std::int64_t>(end - now, 0) / left);
    if (connected) return connected;
  }
  return nullptr;
}

}  // namespace vornelle
