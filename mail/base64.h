// Base64 (RFC 4648, RFC 2045).
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace vornelle {

[[nodiscard]] std::string base64Encode(std::string_view bytes);

// As for a message body: whatever is not of the alphabet is skipped, an incomplete end gives what it can.
// Each padding starts afresh, so texts that were encoded piece by piece come out whole.
[[nodiscard]] std::string base64DecodeBody(std::string_view text);

// As for an encoded word: nullopt when a character is not of the alphabet or the end makes no sense. Missing
// padding is forgiven.
[[nodiscard]] std::optional<std::string> base64DecodeStrict(std::string_view text);

}  // namespace vornelle
