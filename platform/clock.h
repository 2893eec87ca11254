// Wall clock, local time and a clock that only goes forward.
#pragma once

#include <algorithm>
#include <cstdint>
#include <string>

namespace vornelle {

struct LocalTime {
  int year = 1970;
  int month = 1;  // 1 to 12
  int day = 1;
  int hour = 0;  // 0 to 23
  int minute = 0;
  int second = 0;
};

[[nodiscard]] std::int64_t utcNow();  // seconds since 1970-01-01 00:00:00 UTC
// 1970-01-01 00:00:00 where the system cannot tell.
[[nodiscard]] LocalTime toLocalTime(std::int64_t utcSeconds);

// Says only how much later something is than something else.
[[nodiscard]] std::int64_t monotonicMilliseconds();
// How long it is until that clock shows the time; 0 when it has come.
[[nodiscard]] inline std::int64_t millisecondsUntil(std::int64_t time) {
  return std::max<std::int64_t>(time - monotonicMilliseconds(), 0);
}

// The designator for the half of the day that the user has chosen in the system; "AM" and "PM" where there is
// none, and on POSIX systems for one with letters beyond ASCII.
[[nodiscard]] std::string amPmDesignator(bool afternoon);

}  // namespace vornelle
