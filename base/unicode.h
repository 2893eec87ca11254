// Unicode characters and their encodings (RFC 3629, RFC 2781).
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace vornelle {

// Stands in decoded text for what is no character: a broken sequence of bytes, half a pair.
inline constexpr char32_t kNoCharacter = 0xFFFD;

// A code that text can hold: no surrogate, no noncharacter, not kNoCharacter, not beyond 10FFFF.
[[nodiscard]] bool isCharacter(char32_t code);

// One that turns the direction of the text behind it around until it is ended, which may be never.
[[nodiscard]] bool isDirectionMark(char32_t code);

struct Utf8Character {
  char32_t code;
  std::size_t length;  // in bytes
  bool valid;
};

// The character at the start of the bytes, of which there must be one. What is broken is kNoCharacter, as
// long as it could have been the start of a character: the byte that breaks it is not taken.
[[nodiscard]] Utf8Character utf8Character(std::string_view bytes);

[[nodiscard]] bool isUtf8(std::string_view bytes);

// The bytes of UTF-8 without the byte order mark that they may start with.
[[nodiscard]] std::string_view withoutByteOrderMark(std::string_view bytes);

// A byte order mark at the start is no part of the text. Without one, `littleEndian` counts. What is broken
// is kNoCharacter.
[[nodiscard]] std::u32string fromUtf8(std::string_view bytes);
[[nodiscard]] std::u32string fromUtf16(std::string_view bytes, bool littleEndian);
[[nodiscard]] std::u32string fromUtf32(std::string_view bytes, bool littleEndian);

// `code` must not be a surrogate or beyond 10FFFF.
void appendUtf8(std::string& text, char32_t code);

}  // namespace vornelle
