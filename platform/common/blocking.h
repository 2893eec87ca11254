// Waits of the platform that block the program.
#pragma once

#include <algorithm>
#include <cstdint>

#include "platform/before_blocking.h"

namespace vornelle {

// Calls the handler of setBeforeBlocking().
void aboutToBlock();

// An answer that comes this soon is not worth the work of showing anything first.
inline constexpr std::int64_t kShortWait = 20;  // milliseconds

// Waits for at most so many milliseconds with `wait`, which tells whether what it waits for has come. Between
// a short wait and a long one the program is told.
template <typename Wait>
bool waitTold(std::int64_t milliseconds, const Wait& wait) {
  const std::int64_t atFirst = std::min(milliseconds, kShortWait);
  if (wait(atFirst)) return true;
  if (milliseconds <= atFirst) return false;
  aboutToBlock();
  return wait(milliseconds - atFirst);
}

}  // namespace vornelle
