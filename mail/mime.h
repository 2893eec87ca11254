// The structure of a message (RFC 2045 to 2047, 2183): which parts are its text.
//
// One pass over the lines, no copies:
// 1. A part has a header of its own. A multipart part names a boundary, which goes on a stack.
// 2. A line "--boundary" of any multipart on the stack ends the part that is being read; "--boundary--" ends
//    that multipart too. So a part whose end is missing ends where an outer one goes on.
// 3. The first part of type text/html and the first of type text/plain that are not attachments are the text.
//
// Multiparts nested more deeply than anybody nests them are not looked into.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace vornelle {

class HeaderFields;

struct ContentType {
  std::string type;      // "text/html", lower case
  std::string charset;   // "" when none is given
  std::string boundary;  // "" when none is given
};

// Without a field, and for one that cannot be read: text/plain.
[[nodiscard]] ContentType parseContentType(const std::optional<std::string>& field);

// A part's body as it stands in the source, and how to read it.
struct BodyPart {
  std::string_view source;
  ContentType contentType;
  std::string transferEncoding;  // lower case

  // Decoded to Windows-1252. What is past 64 MiB is left out: nobody reads it.
  [[nodiscard]] std::string text() const;
};

struct TextParts {
  std::optional<BodyPart> plain, html;
  std::optional<BodyPart> otherText;  // the first part of another text type that is no attachment
};

// The source of the whole message, header included.
[[nodiscard]] TextParts findTextParts(std::string_view source);

}  // namespace vornelle
