// The structure of a message (RFC 2045 to 2047, 2183): which parts are its text.
//
// One pass over the lines, no copies:
// 1. A part has a header of its own. A multipart part names a boundary, which goes on a stack.
// 2. A line "--boundary" of any multipart on the stack ends the part that is being read; "--boundary--" ends
//    that multipart too. So a part whose end is missing ends where an outer one goes on.
// 3. The first part of type text/html and the first of type text/plain that are not attachments are the text.
// 4. Where there is neither, it is the first part of another text type; or else the text of an attached
//    message; or else the first attached text: what a person would see first.
//
// Multiparts nested more deeply than anybody nests them are not looked into.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "mail/content_type.h"

namespace vornelle {

// A part's body as it stands in the source, and how to read it.
struct BodyPart {
  std::string_view source;
  ContentType contentType;
  std::string transferEncoding;  // lower case

  // Decoded. An HTML text without a character set is in the one that its meta element names. What is past
  // 64 MiB is left out: nobody reads it.
  [[nodiscard]] std::string text() const;
};

// A part that is no text of the message: a file that comes with it, a picture in it.
struct Attachment {
  std::string name;       // Windows-1252, without a folder; "" when it has none
  std::string type;       // "image/png"
  std::size_t bytes = 0;  // of base64 decoded, within a few; of other encodings as they stand
};

inline constexpr std::size_t kMostAttachments = 1000;  // that are told of

struct TextParts {
  std::optional<BodyPart> plain, html;
  std::optional<BodyPart> otherText;  // what serves where there is neither
  std::vector<Attachment> attachments;
};

// The source of the whole message, header included.
[[nodiscard]] TextParts findTextParts(std::string_view source);

}  // namespace vornelle
