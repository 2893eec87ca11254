// 8-bit Windows-1252 text: one character a byte. Letter case knows the letters of Windows-1252 (A-umlaut and
// so on); trimming removes blanks (character 32) only.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace vornelle {

inline constexpr std::string_view kCrLf = "\r\n";

[[nodiscard]] char toLowerChar(char c);
[[nodiscard]] char toUpperChar(char c);
[[nodiscard]] std::string toLower(std::string_view text);

[[nodiscard]] bool equalsNoCase(std::string_view a, std::string_view b);
[[nodiscard]] bool startsWithNoCase(std::string_view text, std::string_view start);
[[nodiscard]] bool endsWithNoCase(std::string_view text, std::string_view end);
// 0-based position at or after `from`, or std::string_view::npos. An empty `find` is found at `from`.
[[nodiscard]] std::size_t findNoCase(std::string_view text, std::string_view find, std::size_t from = 0);
[[nodiscard]] bool containsNoCase(std::string_view text, std::string_view find);

[[nodiscard]] std::string_view trim(std::string_view text);
// The white space of mail and of HTTP.
[[nodiscard]] constexpr bool isBlankOrTab(char c) {
  return c == ' ' || c == '\t';
}
[[nodiscard]] std::string_view trimBlanksAndTabs(std::string_view text);

[[nodiscard]] constexpr bool isDigit(char c) {
  return c >= '0' && c <= '9';
}
[[nodiscard]] constexpr bool isAsciiLetter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}
// One digit or more, and nothing else.
[[nodiscard]] bool isDigits(std::string_view text);

inline constexpr std::string_view kHexDigits = "0123456789ABCDEF";
inline constexpr std::string_view kSmallHexDigits = "0123456789abcdef";
// What a hexadecimal digit, in either letter case, stands for; -1 for any other character.
[[nodiscard]] int hexDigitValue(char c);
// Two small digits for each byte.
[[nodiscard]] std::string hexadecimal(std::string_view bytes);

// Every occurrence, left to right, without looking again at what was put in. An empty `find` changes nothing.
[[nodiscard]] std::string replaceAll(std::string_view text, std::string_view find, std::string_view with);
[[nodiscard]] std::string replaceAllNoCase(std::string_view text, std::string_view find,
                                           std::string_view with);

// Takes the next line of mail or HTTP off the front of `rest`, which must not be empty. The result is without
// its end, which is CR LF or LF; a CR with which the text breaks off is the beginning of one.
[[nodiscard]] std::string_view takeLine(std::string_view& rest);

// The lines of a text: CR LF, a lone LF and a lone CR each end a line; a last line without an end counts, an
// end at the very end of the text starts no further line.
[[nodiscard]] std::vector<std::string> splitLines(std::string_view text);

}  // namespace vornelle
