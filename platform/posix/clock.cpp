#include "platform/clock.h"

#include <langinfo.h>
#include <locale.h>

#include <algorithm>
#include <cstdlib>
#include <ctime>

namespace vornelle {
namespace {

std::string nameOfUsersLocale() {
  for (const char* const variable : {"LC_ALL", "LC_TIME", "LANG"}) {
    const char* const value = std::getenv(variable);
    if (value != nullptr && *value != '\0') return value;
  }
  return "";
}

std::string designatorOf(nl_item item, const char* otherwise) {
  const locale_t user = newlocale(LC_TIME_MASK, "", nullptr);
  if (!user) return otherwise;
  std::string designator = nl_langinfo_l(item, user);
  freelocale(user);
  // The character set of the locale is not the program's.
  const bool plain =
      std::all_of(designator.begin(), designator.end(), [](char c) { return c > ' ' && c < 0x7F; });
  return designator.empty() || !plain ? otherwise : designator;
}

}  // namespace

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
  // The system reads a file for each question, and every line of the log asks.
  static std::string askedFor;
  static std::string designators[2] = {"AM", "PM"};
  const std::string name = nameOfUsersLocale();
  if (name != askedFor) {
    designators[0] = designatorOf(AM_STR, "AM");
    designators[1] = designatorOf(PM_STR, "PM");
    askedFor = name;
  }
  return designators[afternoon ? 1 : 0];
}

}  // namespace vornelle
