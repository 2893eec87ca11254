// Text in the character sets of the mail world, into the program's text (base/characters.h).
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace vornelle {

// Both give at most `most` bytes of text: in some alphabets it is seven times as long as the bytes.

// Raw bytes that nobody has named a character set for: valid UTF-8 is taken as UTF-8, anything else as
// Windows-1252.
[[nodiscard]] std::string unlabelledToText(std::string_view bytes, std::size_t most = std::string::npos);

// nullopt when the character set is not known; see platform/charset.h for its name.
[[nodiscard]] std::optional<std::string> charsetToText(std::string_view charset, std::string_view bytes,
                                                       std::size_t most = std::string::npos);

}  // namespace vornelle
