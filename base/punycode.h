// Host names with letters beyond ASCII, as the name system and certificates write them (RFC 3490, RFC 3492).
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace vornelle {

// One label in Punycode, without the "xn--" in front: U+0062 U+00FC U+0063 U+0068 U+0065 U+0072 gives
// "bcher-kva". nullopt where the numbers overflow.
[[nodiscard]] std::optional<std::string> punycode(std::u32string_view label);

// A host name in Windows-1252 as ASCII: labels with other letters than those of ASCII become "xn--" labels in
// small letters, the sharp s stays itself (IDNA 2008), everything else is left as it is. nullopt for what no
// host name can be: other signs beyond ASCII, or an "xn--" label of more than 63 characters.
[[nodiscard]] std::optional<std::string> hostToAscii(std::string_view host);

}  // namespace vornelle
