// The header of a message or of a part of one (RFC 5322), read so that odd mail gives what it can.
//
//     Subject: Good news      a field: name, colon, value
//      for you                a line that starts with a blank goes on with the value
//     X-Other: 1
//                             an empty line ends the header
//
// - Lines end with CR LF or LF.
// - A line that is no field and goes on with none is passed over when fields are looked for, so that one
//   broken line hides nothing. The body starts at the empty line, or else at the first such line.
// - A line of blanks is an empty line too where neither a field nor a continuation follows; and so is the
//   boundary of the multipart that the header announces, when the empty line in front of it is missing.
// - "From " and ">From " lines at the top, as mail files have them, belong to the header.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace vornelle {

// A view into the source of a message or part.
class HeaderFields {
 public:
  // Finds the header at the start of the text.
  explicit HeaderFields(std::string_view text);

  // Where the body starts, counted from the start of the text; its length when there is no body.
  [[nodiscard]] std::size_t bodyStart() const { return bodyStart_; }
  [[nodiscard]] bool endsWithEmptyLine() const { return endsWithEmptyLine_; }

  // The value of the first field of that name (letter case ignored), unfolded, blanks around it removed, not
  // decoded.
  [[nodiscard]] std::optional<std::string> field(std::string_view name) const;

  // The same as text: encoded words decoded, control characters (tabs aside) become blanks. "" without the
  // field. Raw bytes that are no UTF-8 are in the character set of the message's own text.
  [[nodiscard]] std::string fieldText(std::string_view name) const;

 private:
  std::string_view header_;
  std::size_t bodyStart_ = 0;
  bool endsWithEmptyLine_ = false;
};

}  // namespace vornelle
