// Numbers in texts, and the 16-bit and 32-bit arithmetic of the settings and counters, with defined overflow.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace vornelle {

// The number at the start of a text: leading blanks (also tabs and line feeds) are skipped, then sign,
// digits, decimal point, exponent, or one of the radix prefixes &H and &O; the rest is ignored. 0 for a text
// that starts with no number.
[[nodiscard]] double val(std::string_view text);

// Rounded to a whole number, halves to the even neighbour.
[[nodiscard]] double roundHalfEven(double value);

// The whole text (blanks around it allowed) as a number in one of the forms that val() knows; nullopt when it
// is not one, or beyond what a double holds.
[[nodiscard]] std::optional<double> toNumber(std::string_view text);
// As toNumber, rounded with roundHalfEven; nullopt also when it does not fit.
[[nodiscard]] std::optional<std::int32_t> toInt32(std::string_view text);
[[nodiscard]] std::optional<std::int16_t> toInt16(std::string_view text);
[[nodiscard]] std::optional<std::int16_t> toInt16(double value);

// The ports of TCP. The whole text is decimal digits, or it is none.
inline constexpr int kLastPort = 65535;
[[nodiscard]] constexpr bool isPort(int number) {
  return number >= 1 && number <= kLastPort;
}
[[nodiscard]] std::optional<int> toPort(std::string_view text);

// 16-bit signed arithmetic; nullopt on overflow.
[[nodiscard]] std::optional<std::int16_t> add16(int a, int b);
[[nodiscard]] std::optional<std::int16_t> subtract16(int a, int b);
[[nodiscard]] std::optional<std::int16_t> multiply16(int a, int b);

// Decimal digits with one leading blank when the number is zero or positive, and a leading "-" when it is
// negative.
[[nodiscard]] std::string formatSigned(long long number);

}  // namespace vornelle
