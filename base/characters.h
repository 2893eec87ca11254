// The characters of the program's 8-bit text, which is Windows-1252 with one addition: a character that this
// code page lacks is written as its decimal character reference.
//
//     "Gr\xFC\xDF Gott, &#1087;"      two characters of the code page, and a Cyrillic letter
//
// Only references in just this form, without leading zeros, to characters outside Windows-1252 are
// characters: "&lt;", "&#60;" and "&#x43F;" are as many characters as they have letters. Pages show such
// references without further ado, browsers write them for what the code page lacks, and files of 8-bit text
// hold them.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace vornelle {

// Appends the character; "?" for what is none. The five bytes that the code page leaves open (81, 8D, 8F, 90,
// 9D) stand for the control characters of their numbers, and the other control characters from 80 to 9F are
// none.
void appendCharacter(std::string& text, char32_t code);

// The whole text, or as many of its first characters as fit into `most` bytes.
[[nodiscard]] std::string toText(std::u32string_view characters, std::size_t most = std::string::npos);

struct TextCharacter {
  char32_t code;
  std::size_t length;  // in bytes
};

// The character at the start of the text, which must not be empty.
[[nodiscard]] TextCharacter textCharacter(std::string_view text);

// The first `count` characters. No reference is cut in two.
[[nodiscard]] std::string_view firstCharacters(std::string_view text, std::size_t count);

// As much of the start as fits into `most` bytes without cutting a reference.
[[nodiscard]] std::string_view firstBytes(std::string_view text, std::size_t most);

[[nodiscard]] std::string toUtf8(std::string_view text);
// Back from UTF-8, bounded as toText(). What is no UTF-8 is "?"; a byte order mark at the start is no part of
// the text.
[[nodiscard]] std::string fromUtf8ToText(std::string_view bytes, std::size_t most = std::string::npos);

}  // namespace vornelle
