#include "platform/modGoToSleep.h"

#include <cerrno>
#include <cstdint>
#include <ctime>

#include "platform/common/blocking.h"

namespace vornelle {
namespace {

timespec inMilliseconds(std::int64_t milliseconds) {
  timespec result{};
  result.tv_sec = static_cast<std::time_t>(milliseconds / 1000);
  result.tv_nsec = static_cast<long>(milliseconds % 1000 * 1000000);
  return result;
}

}  // namespace

void pause(int milliseconds) {
  if (milliseconds <= 0) return;
  aboutToBlock();
  timespec end{};
  clock_gettime(CLOCK_MONOTONIC, &end);
  const timespec length = inMilliseconds(milliseconds);
  end.tv_sec += length.tv_sec;
  end.tv_nsec += length.tv_nsec;
  if (end.tv_nsec >= 1000000000) {
    end.tv_nsec -= 1000000000;
    ++end.tv_sec;
  }
  while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &end, nullptr) == EINTR) {
  }
}

}  // namespace vornelle
