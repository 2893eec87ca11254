// Content-Type and its like: a value and parameters (RFC 2045, RFC 2231).
//
//     text/html; charset="utf-8"; format=flowed (a comment)
//     multipart/mixed; boundary*0="first half"; boundary*1=second
//
// Much is forgiven: missing semicolons, comments and blanks in any place, a quote that is not closed.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace vornelle {

struct ContentType {
  std::string type;      // "text/html", lower case
  std::string charset;   // "" when none is given
  std::string boundary;  // "" when none is given
};

// The type is text/plain without a field and for one whose type cannot be read, but for a multipart that says
// no more than that and has a boundary: multipart/mixed.
[[nodiscard]] ContentType parseContentType(const std::optional<std::string>& field);

// What stands in front of the parameters of any such field: lower case, without blanks and comments.
[[nodiscard]] std::string fieldValue(std::string_view field);

// The value of one of its parameters, "" without it. What RFC 2231 encodes is decoded and stays in its
// character set.
[[nodiscard]] std::string fieldParameter(std::string_view field, std::string_view name);

// The character set that a meta element near the start of an HTML text names; "" for none.
[[nodiscard]] std::string metaCharset(std::string_view html);

}  // namespace vornelle
