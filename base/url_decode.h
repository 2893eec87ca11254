// Decoding of form-encoded text.
#pragma once

#include <string>

namespace vornelle {

// Applies a fixed table of replacements, one after the other, each to every occurrence and to the result of
// the one before; letter case matters. An escape that is not in the table ("%40", "%2f") stays as it is, and
// an escaped percent sign can be decoded twice ("%2526" gives "&").
[[nodiscard]] std::string urlDecode(std::string text);

}  // namespace vornelle
