// Decoding of text out of addresses and forms.
#pragma once

#include <string>
#include <string_view>

namespace vornelle {

// Applies a fixed table of replacements, one after the other, each to every occurrence and to the result of
// the one before; letter case matters. An escape that is not in the table ("%40", "%2f") stays as it is, and
// an escaped percent sign can be decoded twice ("%2526" gives "&").
[[nodiscard]] std::string urlDecode(std::string text);

// Browsers post a character that the page's code page lacks as its reference, in which they encode what a
// form cannot hold: "%26%231087%3B", or "%26#1087;" from our own pages. Such references, to characters
// outside Windows-1252 only, are put back; everything else stays encoded.
[[nodiscard]] std::string decodePostedReferences(std::string_view text);

// Every "%" with two hexadecimal digits behind it, in either letter case, as the byte of that number;
// everything else stays.
[[nodiscard]] std::string percentDecode(std::string_view text);

// The encoding of forms as browsers have it, and back: "a b&c" and "a+b%26c". Everything but letters, digits,
// "-" and "." of ASCII is encoded; either hexadecimal letter case is decoded.
[[nodiscard]] std::string formEncode(std::string_view text);
[[nodiscard]] std::string formDecode(std::string_view text);

}  // namespace vornelle
