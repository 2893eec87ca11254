#include "desktop/terminal_text.h"

#include <cstdint>

#include "base/text.h"

namespace vornelle {
namespace {

// Characters 0x80 to 0x9F of Windows-1252 in Unicode; the five that it does not define are shown as "?".
constexpr std::uint16_t kSpecialCharacters[32] = {
    0x20AC, '?',    0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, '?',    0x017D, '?',    '?',    0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, '?',    0x017E, 0x0178};

unsigned codePoint(char character) {
  const auto byte = static_cast<unsigned char>(character);
  if (byte >= 0x80 && byte < 0xA0) return kSpecialCharacters[byte - 0x80];
  const bool isControl = byte < 0x20 || byte == 0x7F;
  return isControl && character != '\n' && character != '\t' ? '?' : byte;
}

void appendUtf8(std::string& out, unsigned code) {
  if (code < 0x80) {
    out += static_cast<char>(code);
    return;
  }
  if (code < 0x800) {
    out += static_cast<char>(0xC0 | code >> 6);
  } else {
    out += static_cast<char>(0xE0 | code >> 12);
    out += static_cast<char>(0x80 | (code >> 6 & 0x3F));
  }
  out += static_cast<char>(0x80 | (code & 0x3F));
}

}  // namespace

std::string toTerminalText(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text.substr(i, 2) != kCrLf) appendUtf8(out, codePoint(text[i]));  // the line feed follows
  }
  return out;
}

}  // namespace vornelle
