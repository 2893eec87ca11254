#include "mail/header_fields.h"

#include "base/text.h"
#include "mail/content_type.h"
#include "mail/encoded_words.h"

namespace vornelle {
namespace {

// The length of the field name that the line starts with; 0 when it starts with none. Blanks before the colon
// are forgiven.
std::size_t fieldNameLength(std::string_view line) {
  std::size_t length = 0;
  while (length < line.size() && line[length] > ' ' && line[length] < '\x7F' && line[length] != ':') ++length;
  std::size_t colon = length;
  while (colon < line.size() && isBlankOrTab(line[colon])) ++colon;
  return colon < line.size() && line[colon] == ':' ? length : 0;
}

bool isAllBlank(std::string_view line) {
  return line.find_first_not_of(" \t\r") == std::string_view::npos;
}

// A line of blanks with something behind it that belongs to no header.
bool endsHeader(std::string_view line, std::string_view rest) {
  if (!isAllBlank(line) || rest.empty()) return false;
  const std::string_view next = takeLine(rest);
  return !next.empty() && !isBlankOrTab(next.front()) && next.front() != '\r' && fieldNameLength(next) == 0 &&
         !next.starts_with("--");
}

std::string unfolded(std::string_view fromField) {
  const std::string_view line = takeLine(fromField);
  std::string value(line.substr(line.find(':') + 1));
  while (!fromField.empty() && isBlankOrTab(fromField.front())) value += takeLine(fromField);
  return std::string(trimBlanksAndTabs(value));
}

// Knows the boundary lines of the multipart that the header announces. The field is read once, at the first
// line that could be one.
class BoundaryFinder {
 public:
  void see(std::string_view line, std::size_t start) {
    constexpr std::string_view kName = "Content-Type";
    if (!field_ && fieldNameLength(line) == kName.size() && startsWithNoCase(line, kName)) field_ = start;
  }
  bool isBoundary(std::string_view line, std::string_view header) {
    if (!line.starts_with("--") || !field_) return false;
    if (!boundary_) boundary_ = parseContentType(unfolded(header.substr(*field_))).boundary;
    line.remove_prefix(2);
    return !boundary_->empty() && line.starts_with(*boundary_) && isAllBlank(line.substr(boundary_->size()));
  }

 private:
  std::optional<std::size_t> field_;  // where Content-Type starts
  std::optional<std::string> boundary_;
};

}  // namespace

HeaderFields::HeaderFields(std::string_view text) {
  std::string_view rest = text;
  std::size_t brokenLine = std::string_view::npos;
  bool inField = true;
  BoundaryFinder boundary;
  while (!rest.empty()) {
    const std::size_t start = text.size() - rest.size();
    const std::string_view line = takeLine(rest);
    const bool isBoundary = boundary.isBoundary(line, text.substr(0, start));
    if (line.empty() || isBoundary || endsHeader(line, rest)) {
      header_ = text.substr(0, start);
      bodyStart_ = isBoundary ? start : text.size() - rest.size();
      endsWithEmptyLine_ = true;
      return;
    }
    if (isBlankOrTab(line.front()) && inField) continue;
    boundary.see(line, start);
    inField = fieldNameLength(line) > 0;
    const bool mailFileLine = start == 0 && (line.starts_with("From ") || line.starts_with(">From "));
    if (!inField && !mailFileLine && brokenLine == std::string_view::npos) brokenLine = start;
  }
  header_ = text;
  bodyStart_ = brokenLine == std::string_view::npos ? text.size() : brokenLine;
}

std::optional<std::string> HeaderFields::field(std::string_view name) const {
  std::string_view rest = header_;
  while (!rest.empty()) {
    const std::string_view line = takeLine(rest);
    if (fieldNameLength(line) != name.size() || !startsWithNoCase(line, name)) continue;
    return unfolded(header_.substr(static_cast<std::size_t>(line.data() - header_.data())));
  }
  return std::nullopt;
}

std::string HeaderFields::fieldText(std::string_view name) const {
  const std::optional<std::string> value = field(name);
  if (!value) return "";
  std::string text = decodeEncodedWords(*value, parseContentType(field("Content-Type")).charset);
  // Words can hide line ends, and neither the log nor a page line may be broken by a stranger.
  for (char& c : text) {
    if (static_cast<unsigned char>(c) < ' ' && c != '\t') c = ' ';
  }
  return std::string(trimBlanksAndTabs(text));
}

}  // namespace vornelle
