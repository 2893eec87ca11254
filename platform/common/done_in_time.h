// The one kind of thread that the program has: for a call of the system that can take as long as it likes.
#pragma once

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
#include "platform/common/blocking.h"

namespace vornelle {

// Does work that the system sets no bound to and has no asynchronous form of: true when it is done before the
// time (of monotonicMilliseconds()) has come. It is done on a thread of its own, which is left to end by
// itself where it takes longer; so the work may touch nothing but what it shares with its caller by a counted
// reference. The caller's wait is one for a server (blocking.h).
[[nodiscard]] inline bool doneInTime(std::function<void()> work, std::int64_t until) {
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
  const Waited waited = waitTold(millisecondsUntil(until), [&progress](std::int64_t milliseconds) {
    std::unique_lock lock(progress->mutex);
    const bool done = progress->changed.wait_for(lock, std::chrono::milliseconds(milliseconds),
                                                 [&progress] { return progress->done; });
    return done ? Waited::come : Waited::timeOver;
  });
  return waited == Waited::come;
}

}  // namespace vornelle
