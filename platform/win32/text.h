// Between the program's 8-bit text and the system's UTF-16: for what people read and type, with the
// references of base/characters.h, and byte by byte for the names of files.
#pragma once

#include <string>
#include <string_view>

namespace vornelle::win32 {

// What people read: references to characters outside Windows-1252 are those characters. Marks that turn the
// direction of text are "?": a stranger's text could put what stands beside it out of order.
[[nodiscard]] std::wstring shownText(std::string_view text);

// UTF-16 of Windows as characters, and back one by one; half a pair is kNoCharacter.
[[nodiscard]] std::u32string charactersOf(std::wstring_view text);
void appendWide(std::wstring& text, char32_t code);

// What people typed.
[[nodiscard]] std::string typedText(std::wstring_view text);

// One byte, one character.
[[nodiscard]] std::wstring widen(std::string_view text);

// Characters that Windows-1252 lacks become "?".
[[nodiscard]] std::string narrow(std::wstring_view text);

// True when narrow() loses nothing of it.
[[nodiscard]] bool fitsCodePage(std::wstring_view text);

// A path that exists, as 8-bit text. A folder whose name Windows-1252 lacks goes by its short name, where it
// has one.
[[nodiscard]] std::string narrowPath(const std::wstring& path);

}  // namespace vornelle::win32
