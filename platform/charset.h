// The character sets of mail. What their bytes stand for is asked of the system; how the bytes are cut into
// characters, and what happens to broken ones, is the same on every system.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace vornelle {

// The bytes as Unicode; nullopt when neither the system nor the program knows the character set.
//
// The set's name is taken as mail spells it: letter case, punctuation and a language behind it ("utf-8*en",
// RFC 2231) do not count, so "iso88591" and "ISO_8859-1" are one name. Windows code pages go by their number
// ("cp1251", "windows-1251"). Where the standard and its widespread extension differ the extension is meant:
// ISO-8859-1 is read as Windows-1252, GB2312 as GBK, Shift_JIS and EUC-KR with the letters that Windows adds.
//
// A broken sequence is one kNoCharacter, and never takes an ASCII character behind it along. Of UTF-7 only
// its ASCII characters are read, one by one: what it encodes could be markup in disguise.
//
// Time and memory grow with the length of the bytes only.
[[nodiscard]] std::optional<std::u32string> charsetToUnicode(std::string_view charset,
                                                             std::string_view bytes);

[[nodiscard]] bool isKnownCharset(std::string_view charset);

// The name of the set of the system's own 8-bit files, for charsetToUnicode(): "cp1251", "ISO-8859-15".
[[nodiscard]] std::string localCharset();

}  // namespace vornelle
