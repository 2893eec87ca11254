#include "base/numbers.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <limits>

#include "base/text.h"

namespace vornelle {
namespace {

struct LeadingNumber {
  double value = 0;
  std::size_t length = 0;  // 0: the text starts with no number
};

std::size_t countDigits(std::string_view text, std::size_t from) {
  text.remove_prefix(std::min(from, text.size()));
  return static_cast<std::size_t>(std::ranges::find_if_not(text, isDigit) - text.begin());
}

// "&H1F" and "&O17", in either letter case.
LeadingNumber parseRadixNumber(std::string_view text) {
  if (text.size() < 3 || text[0] != '&') return {};
  const char letter = toLowerChar(text[1]);
  const int radix = letter == 'h' ? 16 : letter == 'o' ? 8 : 0;
  LeadingNumber number;
  std::size_t at = 2;
  for (; at < text.size(); ++at) {
    const int digit = hexDigitValue(text[at]);
    if (digit < 0 || digit >= radix) break;
    number.value = number.value * radix + digit;
  }
  if (at > 2) number.length = at;
  return number;
}

// The longest number at the very start: "-12.5e3" of "-12.5e3x", "12" of "12e".
LeadingNumber parseLeadingNumber(std::string_view text) {
  if (!text.empty() && text[0] == '&') return parseRadixNumber(text);
  std::size_t at = !text.empty() && (text[0] == '+' || text[0] == '-') ? 1 : 0;
  std::size_t digits = countDigits(text, at);
  at += digits;
  if (at < text.size() && text[at] == '.') {
    const std::size_t decimals = countDigits(text, at + 1);
    at += 1 + decimals;
    digits += decimals;
  }
  if (digits == 0) return {};
  if (at < text.size() && (text[at] == 'e' || text[at] == 'E')) {
    const std::size_t sign = at + 1 < text.size() && (text[at + 1] == '+' || text[at + 1] == '-') ? 1 : 0;
    const std::size_t exponentDigits = countDigits(text, at + 1 + sign);
    if (exponentDigits > 0) at += 1 + sign + exponentDigits;
  }
  return {std::strtod(std::string(text.substr(0, at)).c_str(), nullptr), at};
}

template <typename Integer>
std::optional<Integer> toInteger(double value) {
  const double rounded = roundHalfEven(value);
  if (!(rounded >= std::numeric_limits<Integer>::min() && rounded <= std::numeric_limits<Integer>::max())) {
    return std::nullopt;  // a value that is not a number fails here too
  }
  return static_cast<Integer>(rounded);
}

std::optional<std::int16_t> narrow16(long long value) {
  if (value < std::numeric_limits<std::int16_t>::min() || value > std::numeric_limits<std::int16_t>::max()) {
    return std::nullopt;
  }
  return static_cast<std::int16_t>(value);
}

}  // namespace

double val(std::string_view text) {
  const std::size_t start = text.find_first_not_of(" \t\n");
  return start == std::string_view::npos ? 0 : parseLeadingNumber(text.substr(start)).value;
}

double roundHalfEven(double value) {
  const double below = std::floor(value);
  const double rest = value - below;
  if (rest < 0.5) return below;
  if (rest > 0.5) return below + 1;
  return std::fmod(below, 2) == 0 ? below : below + 1;
}

std::optional<double> toNumber(std::string_view text) {
  const std::string_view trimmed = trim(text);
  const LeadingNumber number = parseLeadingNumber(trimmed);
  if (number.length == 0 || number.length != trimmed.size() || !std::isfinite(number.value))
    return std::nullopt;
  return number.value;
}

std::optional<std::int32_t> toInt32(std::string_view text) {
  const std::optional<double> number = toNumber(text);
  return number ? toInteger<std::int32_t>(*number) : std::nullopt;
}

std::optional<std::int16_t> toInt16(std::string_view text) {
  const std::optional<double> number = toNumber(text);
  return number ? toInteger<std::int16_t>(*number) : std::nullopt;
}

std::optional<std::int16_t> toInt16(double value) {
  return toInteger<std::int16_t>(value);
}

std::optional<int> toPort(std::string_view text) {
  int port = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), port);
  if (error != std::errc{} || end != text.data() + text.size() || !isPort(port)) return std::nullopt;
  return port;
}

std::optional<std::int16_t> add16(int a, int b) {
  return narrow16(static_cast<long long>(a) + b);
}

std::optional<std::int16_t> subtract16(int a, int b) {
  return narrow16(static_cast<long long>(a) - b);
}

std::optional<std::int16_t> multiply16(int a, int b) {
  return narrow16(static_cast<long long>(a) * b);
}

std::string formatSigned(long long number) {
  return (number < 0 ? "" : " ") + std::to_string(number);
}

}  // namespace vornelle
