// Wall clock, local time and a clock that only goes forward.
#pragma once

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
[[nodiscard]] LocalTime toLocalTime(std::int64_t utcSeconds);
[[nodiscard]] std::int64_t monotonicMilliseconds();

// The system's designator for the half of the day; "AM" and "PM" where it has none.
[[nodiscard]] std::string amPmDesignator(bool afternoon);

}  // namespace vornelle
