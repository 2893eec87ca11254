// Encoded words in header fields (RFC 2047): "=?utf-8?Q?Gr=C3=BC=C3=9Fe?=".
//
// 1. A word is "=?", character set, "?", B or Q in either case, "?", encoded text without "?", "?=".
// 2. Blanks between two words go. The bytes of one character may be split between words.
// 3. A word whose character set is not known, or that is broken, stays as it stands.
//
// More is forgiven than the standard allows, as other mail programs do: words inside quotes or glued to other
// text, blanks inside words (they count in Q words only), and question marks inside Q words.
#pragma once

#include <string>
#include <string_view>

namespace vornelle {

// The value of an unfolded header field as text. Bytes outside words that are not ASCII are UTF-8 where the
// whole value is valid UTF-8, else in `rawCharset` where that is known, else Windows-1252.
[[nodiscard]] std::string decodeEncodedWords(std::string_view value, std::string_view rawCharset = "");

}  // namespace vornelle
