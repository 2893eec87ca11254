#include "base/characters.h"

#include <algorithm>
#include <array>
#include <optional>

#include "base/text.h"
#include "base/unicode.h"

namespace vornelle {
namespace {

// Unicode of the bytes 128 to 159; the five that the code page leaves open stand for themselves.
constexpr std::array<char32_t, 32> kSpecial = {
    0x20AC, 0x81,   0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x8D,   0x017D, 0x8F,   0x90,   0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x9D,   0x017E, 0x0178};

constexpr char32_t kLastSpecial = 0x2122;

std::optional<char> codePageByte(char32_t code) {
  if (code < 0x80 || (code >= 0xA0 && code <= 0xFF)) return static_cast<char>(code);
  if (code > kLastSpecial) return std::nullopt;
  const auto found = std::find(kSpecial.begin(), kSpecial.end(), code);
  if (found == kSpecial.end()) return std::nullopt;
  return static_cast<char>(0x80 + (found - kSpecial.begin()));
}

// The reference that the text starts with, if it stands for a character outside the code page.
std::optional<TextCharacter> reference(std::string_view text) {
  constexpr std::string_view kStart = "&#";
  constexpr std::size_t kMostDigits = 7;
  if (!text.starts_with(kStart) || text.size() <= kStart.size() || text[kStart.size()] == '0')
    return std::nullopt;
  char32_t code = 0;
  std::size_t at = kStart.size();
  for (; at < text.size() && isDigit(text[at]); ++at) {
    if (at - kStart.size() == kMostDigits) return std::nullopt;
    code = code * 10 + static_cast<char32_t>(text[at] - '0');
  }
  if (at == kStart.size() || at == text.size() || text[at] != ';') return std::nullopt;
  if (code < 0xA0 || !isCharacter(code) || codePageByte(code)) return std::nullopt;
  return TextCharacter{code, at + 1};
}

// False when the text would grow beyond `most` bytes.
bool appendWithin(std::string& text, char32_t code, std::size_t most) {
  const std::size_t before = text.size();
  appendCharacter(text, code);
  if (text.size() <= most) return true;
  text.resize(before);
  return false;
}

}  // namespace

void appendCharacter(std::string& text, char32_t code) {
  if (const std::optional<char> byte = codePageByte(code)) {
    text.push_back(*byte);
  } else if (code < 0xA0 || !isCharacter(code)) {
    text.push_back('?');
  } else {
    text.append("&#").append(std::to_string(static_cast<unsigned long>(code))).push_back(';');
  }
}

std::string toText(std::u32string_view characters, std::size_t most) {
  std::string text;
  text.reserve(std::min(characters.size(), most));
  for (const char32_t code : characters) {
    if (!appendWithin(text, code, most)) break;
  }
  return text;
}

TextCharacter textCharacter(std::string_view text) {
  const auto byte = static_cast<unsigned char>(text.front());
  if (byte == '&') {
    if (const std::optional<TextCharacter> found = reference(text)) return *found;
  }
  if (byte >= 0x80 && byte < 0xA0) return {kSpecial[byte - 0x80U], 1};
  return {byte, 1};
}

std::string_view firstCharacters(std::string_view text, std::size_t count) {
  std::size_t length = 0;
  for (; count > 0 && length < text.size(); --count) length += textCharacter(text.substr(length)).length;
  return text.substr(0, length);
}

std::string_view firstBytes(std::string_view text, std::size_t most) {
  if (text.size() <= most) return text;
  // Only a reference that starts within its own length of the end can reach beyond it.
  constexpr std::size_t kLongestReference = 10;
  const std::size_t start = most - std::min(most, kLongestReference);
  for (std::size_t at = start; at < most; ++at) {
    if (at + textCharacter(text.substr(at)).length > most) return text.substr(0, at);
  }
  return text.substr(0, most);
}

std::string toUtf8(std::string_view text) {
  std::string bytes;
  bytes.reserve(text.size());
  while (!text.empty()) {
    const TextCharacter next = textCharacter(text);
    appendUtf8(bytes, next.code);
    text.remove_prefix(next.length);
  }
  return bytes;
}

std::string fromUtf8ToText(std::string_view bytes, std::size_t most) {
  std::string text;
  text.reserve(std::min(bytes.size(), most));
  bytes = withoutByteOrderMark(bytes);
  while (!bytes.empty()) {
    const Utf8Character next = utf8Character(bytes);
    if (!appendWithin(text, next.code, most)) break;
    bytes.remove_prefix(next.length);
  }
  return text;
}

}  // namespace vornelle
