#include "base/unicode.h"

namespace vornelle {
namespace {

constexpr char32_t kByteOrderMark = 0xFEFF;
constexpr char32_t kLastCode = 0x10FFFF;

bool isSurrogate(char32_t code) {
  return code >= 0xD800 && code <= 0xDFFF;
}

// `size` bytes as one number.
char32_t unitAt(std::string_view bytes, std::size_t at, std::size_t size, bool littleEndian) {
  char32_t unit = 0;
  for (std::size_t i = 0; i < size; ++i) {
    const std::size_t place = littleEndian ? size - 1 - i : i;
    unit = unit << 8 | static_cast<unsigned char>(bytes[at + place]);
  }
  return unit;
}

// Takes the byte order mark off and tells what it says.
void takeMark(std::string_view& bytes, std::size_t size, bool& littleEndian) {
  if (bytes.size() < size) return;
  for (const bool little : {false, true}) {
    if (unitAt(bytes, 0, size, little) != kByteOrderMark) continue;
    littleEndian = little;
    bytes.remove_prefix(size);
    return;
  }
}

}  // namespace

bool isCharacter(char32_t code) {
  const bool noncharacter = (code & 0xFFFE) == 0xFFFE || (code >= 0xFDD0 && code <= 0xFDEF);
  return code <= kLastCode && !isSurrogate(code) && !noncharacter && code != kNoCharacter;
}

bool isDirectionMark(char32_t code) {
  return (code >= 0x202A && code <= 0x202E) || (code >= 0x2066 && code <= 0x2069);
}

Utf8Character utf8Character(std::string_view bytes) {
  const auto at = [bytes](std::size_t i) { return static_cast<unsigned char>(bytes[i]); };
  const unsigned first = at(0);
  if (first < 0x80) return {first, 1, true};
  std::size_t length = 0;
  // Bounds of the second byte: no overlong forms, no surrogates, nothing beyond the last code.
  unsigned low = 0x80;
  unsigned high = 0xBF;
  if (first >= 0xC2 && first <= 0xDF) {
    length = 2;
  } else if (first >= 0xE0 && first <= 0xEF) {
    length = 3;
    if (first == 0xE0) low = 0xA0;
    if (first == 0xED) high = 0x9F;
  } else if (first >= 0xF0 && first <= 0xF4) {
    length = 4;
    if (first == 0xF0) low = 0x90;
    if (first == 0xF4) high = 0x8F;
  } else {
    return {kNoCharacter, 1, false};
  }
  char32_t code = first & (0xFFU >> (length + 1));
  for (std::size_t i = 1; i < length; ++i) {
    if (i >= bytes.size() || at(i) < low || at(i) > high) return {kNoCharacter, i, false};
    code = (code << 6) | (at(i) & 0x3FU);
    low = 0x80;
    high = 0xBF;
  }
  return {code, length, true};
}

bool isUtf8(std::string_view bytes) {
  while (!bytes.empty()) {
    const Utf8Character next = utf8Character(bytes);
    if (!next.valid) return false;
    bytes.remove_prefix(next.length);
  }
  return true;
}

std::string_view withoutByteOrderMark(std::string_view bytes) {
  constexpr std::string_view kMark = "\xEF\xBB\xBF";
  if (bytes.starts_with(kMark)) bytes.remove_prefix(kMark.size());
  return bytes;
}

std::u32string fromUtf8(std::string_view bytes) {
  bytes = withoutByteOrderMark(bytes);
  std::u32string text;
  text.reserve(bytes.size());
  while (!bytes.empty()) {
    const Utf8Character next = utf8Character(bytes);
    text.push_back(next.code);
    bytes.remove_prefix(next.length);
  }
  return text;
}

std::u32string fromUtf16(std::string_view bytes, bool littleEndian) {
  takeMark(bytes, 2, littleEndian);
  std::u32string text;
  text.reserve(bytes.size() / 2 + 1);
  std::size_t i = 0;
  while (i + 1 < bytes.size()) {
    char32_t code = unitAt(bytes, i, 2, littleEndian);
    i += 2;
    if (isSurrogate(code)) {
      const char32_t second = code < 0xDC00 && i + 1 < bytes.size() ? unitAt(bytes, i, 2, littleEndian) : 0;
      const bool pair = second >= 0xDC00 && second <= 0xDFFF;
      code = pair ? 0x10000 + ((code - 0xD800) << 10) + (second - 0xDC00) : kNoCharacter;
      if (pair) i += 2;
    }
    text.push_back(code);
  }
  if (i < bytes.size()) text.push_back(kNoCharacter);
  return text;
}

std::u32string fromUtf32(std::string_view bytes, bool littleEndian) {
  takeMark(bytes, 4, littleEndian);
  std::u32string text;
  text.reserve(bytes.size() / 4 + 1);
  std::size_t i = 0;
  for (; i + 3 < bytes.size(); i += 4) {
    const char32_t code = unitAt(bytes, i, 4, littleEndian);
    text.push_back(isSurrogate(code) || code > kLastCode ? kNoCharacter : code);
  }
  if (i < bytes.size()) text.push_back(kNoCharacter);
  return text;
}

void appendUtf8(std::string& text, char32_t code) {
  const auto put = [&text](char32_t byte) { text.push_back(static_cast<char>(byte)); };
  if (code < 0x80) return put(code);
  if (code < 0x800) {
    put(0xC0 | code >> 6);
  } else {
    if (code < 0x10000) {
      put(0xE0 | code >> 12);
    } else {
      put(0xF0 | code >> 18);
      put(0x80 | (code >> 12 & 0x3F));
    }
    put(0x80 | (code >> 6 & 0x3F));
  }
  put(0x80 | (code & 0x3F));
}

}  // namespace vornelle
