#include "mail/mail_date.h"

#include <array>
#include <chrono>
#include <string>
#include <vector>

#include "base/text.h"

namespace vornelle {
namespace {

// The words of the text: blanks and commas separate, comments go. At most a handful; a date has no more.
std::vector<std::string_view> words(std::string_view text) {
  constexpr std::size_t kMost = 12;
  std::vector<std::string_view> result;
  int depth = 0;
  std::size_t start = std::string_view::npos;
  for (std::size_t i = 0; i <= text.size() && result.size() < kMost; ++i) {
    const char c = i < text.size() ? text[i] : ' ';
    const bool separator =
        depth > 0 || c == ' ' || c == '\t' || c == '\r' || c == '\n' || c == ',' || c == '(';
    if (separator && start != std::string_view::npos) {
      result.push_back(text.substr(start, i - start));
      start = std::string_view::npos;
    }
    if (!separator && start == std::string_view::npos) start = i;
    if (c == '(') ++depth;
    if (c == ')' && depth > 0) --depth;
  }
  return result;
}

// Digits only, at most `most` of them.
std::optional<int> number(std::string_view text, std::size_t most) {
  if (text.empty() || text.size() > most) return std::nullopt;
  int value = 0;
  for (const char c : text) {
    if (!isDigit(c)) return std::nullopt;
    value = value * 10 + (c - '0');
  }
  return value;
}

std::optional<int> monthNumber(std::string_view word) {
  constexpr std::array<std::string_view, 12> kMonths = {"jan", "feb", "mar", "apr", "may", "jun",
                                                        "jul", "aug", "sep", "oct", "nov", "dec"};
  if (word.size() < 3) return std::nullopt;
  for (std::size_t i = 0; i < kMonths.size(); ++i) {
    if (startsWithNoCase(word, kMonths[i])) return static_cast<int>(i) + 1;
  }
  return std::nullopt;
}

std::optional<int> yearNumber(std::string_view word) {
  const std::optional<int> year = number(word, 4);
  if (!year || word.size() < 2) return std::nullopt;
  // RFC 5322, 4.3.
  if (word.size() == 2) return *year < 50 ? *year + 2000 : *year + 1900;
  if (word.size() == 3) return *year + 1900;
  return *year;
}

// "01:55:00" or "01:55" in seconds of the day; a fraction of a second is dropped.
std::optional<int> timeOfDay(std::string_view word) {
  std::array<int, 3> parts{};
  for (std::size_t i = 0; i < parts.size(); ++i) {
    const std::size_t end = word.find(i == 2 ? '.' : ':');
    const std::optional<int> part = number(word.substr(0, end), 2);
    if (!part) return std::nullopt;
    parts[i] = *part;
    if (end == std::string_view::npos) {
      if (i == 0) return std::nullopt;
      break;
    }
    word.remove_prefix(end + 1);
  }
  if (parts[0] > 23 || parts[1] > 59 || parts[2] > 60) return std::nullopt;
  return (parts[0] * 60 + parts[1]) * 60 + parts[2];
}

struct NamedZone {
  std::string_view name;
  int hours;
};
constexpr NamedZone kZones[] = {{"est", -5}, {"edt", -4}, {"cst", -6}, {"cdt", -5}, {"mst", -7},
                                {"mdt", -6}, {"pst", -8}, {"pdt", -7}, {"cet", 1},  {"met", 1},
                                {"mez", 1},  {"cest", 2}, {"mest", 2}, {"mesz", 2}, {"eet", 2},
                                {"eest", 3}, {"bst", 1},  {"msk", 3},  {"jst", 9}};

// Seconds east of Greenwich. "-0000", military letters and names that nobody knows tell nothing: UTC.
std::optional<int> zoneOffset(std::string_view word) {
  if (startsWithNoCase(word, "gmt+") || startsWithNoCase(word, "gmt-") || startsWithNoCase(word, "utc+") ||
      startsWithNoCase(word, "utc-")) {
    word.remove_prefix(3);
  }
  if (word.starts_with('+') || word.starts_with('-')) {
    std::string digits;
    for (const char c : word.substr(1)) {
      if (c != ':') digits.push_back(c);
    }
    if (digits.size() == 1 || digits.size() == 3) digits.insert(0, "0");
    if (digits.size() == 2) digits += "00";
    const std::optional<int> value = number(digits, 4);
    if (!value || *value % 100 > 59 || *value / 100 > 23) return std::nullopt;
    const int seconds = (*value / 100 * 60 + *value % 100) * 60;
    return word.front() == '-' ? -seconds : seconds;
  }
  for (const NamedZone& zone : kZones) {
    if (equalsNoCase(word, zone.name)) return zone.hours * 3600;
  }
  return 0;
}

struct Parts {
  std::optional<int> day, month, year, time, zone;
};

std::optional<std::int64_t> secondsOf(const Parts& parts) {
  if (!parts.day || !parts.month || !parts.year || !parts.time) return std::nullopt;
  const std::chrono::year_month_day date(std::chrono::year(*parts.year),
                                         std::chrono::month(static_cast<unsigned>(*parts.month)),
                                         std::chrono::day(static_cast<unsigned>(*parts.day)));
  if (*parts.year < 1900 || !date.ok()) return std::nullopt;
  const std::chrono::seconds midnight = std::chrono::sys_days(date).time_since_epoch();
  return midnight.count() + *parts.time - parts.zone.value_or(0);
}

// "15-Nov-2026" is three words to everybody else.
std::vector<std::string_view> splitDashes(const std::vector<std::string_view>& from) {
  std::vector<std::string_view> result;
  for (std::string_view word : from) {
    const std::size_t dash = word.find('-');
    if (!word.empty() && isDigit(word.front()) && dash != std::string_view::npos &&
        word.find('-', dash + 1) != std::string_view::npos) {
      for (std::size_t end; (end = word.find('-')) != std::string_view::npos;) {
        result.push_back(word.substr(0, end));
        word.remove_prefix(end + 1);
      }
    }
    result.push_back(word);
  }
  return result;
}

}  // namespace

std::optional<std::int64_t> parseMailDate(std::string_view text) {
  constexpr std::size_t kLongest = 256;
  Parts parts;
  bool dayName = true;  // only the first word can be one
  for (const std::string_view word : splitDashes(words(text.substr(0, kLongest)))) {
    const bool first = dayName;
    dayName = false;
    if (!parts.month && monthNumber(word)) {
      parts.month = monthNumber(word);
    } else if (word.find(':') != std::string_view::npos && isDigit(word.front())) {
      if (parts.time) return std::nullopt;
      parts.time = timeOfDay(word);
      if (!parts.time) return std::nullopt;
    } else if (isDigit(word.front())) {
      if (!parts.day) {
        parts.day = number(word, 2);
        if (!parts.day) return std::nullopt;
      } else if (!parts.year) {
        parts.year = yearNumber(word);
        if (!parts.year) return std::nullopt;
      } else {
        return std::nullopt;
      }
    } else if (parts.time) {
      if (!parts.zone) {
        parts.zone = zoneOffset(word);
        if (!parts.zone) return std::nullopt;
      }
    } else if (!first) {
      return std::nullopt;
    }
  }
  return secondsOf(parts);
}

}  // namespace vornelle
