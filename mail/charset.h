// Text in the character sets of the mail world, into Windows-1252. What that has no character for becomes
// "?", one for each character.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace vornelle {

[[nodiscard]] bool isUtf8(std::string_view bytes);

// Raw bytes that nobody has named a character set for: valid UTF-8 is taken as UTF-8, anything else as
// Windows-1252.
[[nodiscard]] std::string unlabelledToText(std::string_view bytes);

// nullopt when the character set is not known. Letter case of the name is ignored, and so is a language
// behind it
// ("utf-8*en", RFC 2231). ISO-8859-1 is read as Windows-1252, as everybody does.
[[nodiscard]] std::optional<std::string> charsetToText(std::string_view charset, std::string_view bytes);

}  // namespace vornelle
