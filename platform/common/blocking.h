// Waits of the platform that block the program.
#pragma once

#include <algorithm>
#include <cstdint>

#include "platform/clock.h"

namespace vornelle {

// Calls the handler of setBeforeBlocking().
void aboutToBlock();

// An answer that comes this soon is not worth the work of showing anything first.
inline constexpr std::int64_t kShortWait = 20;  // milliseconds

// The longest time in a wait between two looks at the sockets that are served in it.
inline constexpr std::int64_t kMeanwhileInterval = 10;  // milliseconds

// Serves those sockets (platform/meanwhile.h).
void serveMeanwhile();
// The same, unless it has just been done: for streams that bring so much that there is never a wait.
void serveMeanwhileIfDue();

// What has come of a wait, or of a slice of it.
enum class Waited {
  come,      // what was waited for
  timeOver,  // it has not
  failed,    // it cannot be waited for: the system says so, at once, and would say so again
};

// Waits for at most so many milliseconds with `wait`, which is asked in slices; between them the sockets that
// may be are served. Between a short wait and a long one the program is told. What has come while they were
// served has come in time.
template <typename Wait>
Waited waitTold(std::int64_t milliseconds, const Wait& wait) {
  const std::int64_t start = monotonicMilliseconds();
  bool told = false;
  while (true) {
    const std::int64_t passed = monotonicMilliseconds() - start;
    const std::int64_t left = std::max<std::int64_t>(milliseconds - passed, 0);
    if (!told && left > 0 && passed >= kShortWait) {
      told = true;
      aboutToBlock();
    }
    const Waited slice = wait(std::min(left, kMeanwhileInterval));
    if (slice != Waited::timeOver || left == 0) return slice;
    serveMeanwhile();
  }
}

}  // namespace vornelle
