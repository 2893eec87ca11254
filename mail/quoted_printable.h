// Quoted-printable (RFC 2045) and the Q encoding of encoded words (RFC 2047).
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace vornelle {

// As for a message body: soft line breaks and blanks at line ends go, an "=" that starts no escape stays.
[[nodiscard]] std::string quotedPrintableDecode(std::string_view text);

// As for an encoded word; nullopt when an escape is broken.
[[nodiscard]] std::optional<std::string> qEncodingDecode(std::string_view text);

}  // namespace vornelle
