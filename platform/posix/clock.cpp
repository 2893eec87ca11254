#include "platform/clock.h"

#include <langinfo.h>
#include <locale.h>

#include <algorithm>
#include <ctime>

namespace vornelle {

std::int64_t utcNow() {
  return std::time(nullptr);
}

std::int64_t monotonicMilliseconds() {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return now.tv_sec * std::int64_t{1000} + now.tv_nsec / 1000000;
}

LocalTime toLocalTime(std::int64_t utcSeconds) {
  const auto time = static_cast<std::time_t>(utcSeconds);
  std::tm parts{};
  tzset();  // localtime_r() alone need not do it
  if (!localtime_r(&time, &parts)) return {};
  return {parts.tm_year + 1900, parts.tm_mon + 1, parts.tm_mday, parts.tm_hour, parts.tm_min, parts.tm_sec};
}

std::string amPmDesignator(bool afternoon) {
  std::string none = afternoon ? "PM" : "AM";
  const locale_t user = newlocale(LC_TIME_MASK, "", nullptr);
  if (!user) return none;
  std::string designator = nl_langinfo_l(afternoon ? PM_STR : AM_STR, user);
  freelocale(user);
  // The character set of the locale is not the program's.
  const bool plain =
      std::all_of(designator.begin(), designator.end(), [](char c) { return c > ' ' && c < 0x7F; });
  return designator.empty() || !plain ? none : designator;
}

}  // namespace vornelle
