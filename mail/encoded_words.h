// Encoded words in header fields (RFC 2047): "=?utf-8?Q?Gr=C3=BC=C3=9Fe?=".
//
// 1. A word is "=?", character set, "?", B or Q in either case, "?", encoded text without "?", "?=".
// 2. Blanks between two words go. The bytes of one character may be split between words.
// 3. A word whose character set is not known, or that is broken, stays as it stands.
//
// More is forgiven than the standard allows, as other mail programs do: words inside quotes or glued to other
// text, and blanks inside Q words.
#pragma once

#include <string>
#include <string_view>

namespace vornelle {

// The value of an unfolded header field as Windows-1252 text. Bytes above 127 outside words are UTF-8 where
// the whole value is valid UTF-8, else Windows-1252.
[[nodiscard]] std::string decodeEncodedWords(std::string_view value);

}  // namespace vornelle
