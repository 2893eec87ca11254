#include "mail/mime.h"

#include <algorithm>
#include <vector>

#include "base/text.h"
#include "mail/base64.h"
#include "mail/charset.h"
#include "mail/header_fields.h"
#include "mail/quoted_printable.h"

namespace vornelle {
namespace {

constexpr std::size_t kDeepest = 32;
constexpr std::size_t kLongestText = 64U << 20;

bool isBlank(char c) {
  return c == ' ' || c == '\t';
}

// Reads "value; name=value; name="quoted value" (comment)" piece by piece.
class ParameterReader {
 public:
  explicit ParameterReader(std::string_view text) : rest_(text) {}

  // The value before the first parameter, lower case, without blanks.
  std::string value() {
    std::string result;
    while (!rest_.empty() && rest_.front() != ';') {
      skipBlanks();
      if (rest_.empty() || rest_.front() == ';') break;
      result.push_back(toLowerChar(rest_.front()));
      rest_.remove_prefix(1);
    }
    return result;
  }

  struct Parameter {
    std::string name, value;
  };
  std::optional<Parameter> next() {
    while (!rest_.empty()) {
      if (rest_.front() != ';') {
        rest_.remove_prefix(1);
        continue;
      }
      rest_.remove_prefix(1);
      skipBlanks();
      Parameter parameter;
      while (!rest_.empty() && rest_.front() != '=' && rest_.front() != ';') {
        if (!isBlank(rest_.front())) parameter.name.push_back(toLowerChar(rest_.front()));
        rest_.remove_prefix(1);
      }
      if (rest_.empty() || rest_.front() != '=') continue;
      rest_.remove_prefix(1);
      skipBlanks();
      parameter.value = !rest_.empty() && rest_.front() == '"' ? quoted() : token();
      return parameter;
    }
    return std::nullopt;
  }

 private:
  void skipBlanks() {
    int depth = 0;
    while (!rest_.empty() && (depth > 0 || isBlank(rest_.front()) || rest_.front() == '(')) {
      if (rest_.front() == '(') ++depth;
      if (rest_.front() == ')') --depth;
      rest_.remove_prefix(1);
    }
  }
  std::string quoted() {
    std::string result;
    rest_.remove_prefix(1);
    while (!rest_.empty() && rest_.front() != '"') {
      if (rest_.front() == '\\' && rest_.size() > 1) rest_.remove_prefix(1);
      result.push_back(rest_.front());
      rest_.remove_prefix(1);
    }
    return result;
  }
  std::string token() {
    const std::size_t end = std::min(rest_.find_first_of("; \t"), rest_.size());
    std::string result(rest_.substr(0, end));
    rest_.remove_prefix(end);
    return result;
  }

  std::string_view rest_;
};

bool isMultipart(const ContentType& type) {
  return type.type.starts_with("multipart/") && !type.boundary.empty();
}

bool isAttachment(const HeaderFields& header) {
  const std::optional<std::string> field = header.field("Content-Disposition");
  if (!field) return false;
  const std::string disposition = ParameterReader(*field).value();
  return !disposition.empty() && disposition != "inline";
}

std::string transferEncoding(const HeaderFields& header) {
  const std::optional<std::string> field = header.field("Content-Transfer-Encoding");
  return field ? ParameterReader(*field).value() : "";
}

class Walker {
 public:
  explicit Walker(std::string_view source) : source_(source), rest_(source) {}

  TextParts walk() {
    part("text/plain");
    return std::move(found_);
  }

 private:
  // What ended a part: the boundary of that level of the stack, or the end of the text.
  struct End {
    std::size_t level;
    bool closing;
  };
  static constexpr std::size_t kEndOfText = static_cast<std::size_t>(-1);

  [[nodiscard]] std::size_t position() const { return source_.size() - rest_.size(); }

  // Reads on to the next boundary line. `bodyEnd` is where the text before it ends: the line end in front of
  // a boundary belongs to the boundary.
  End skipToBoundary(std::size_t bodyStart, std::size_t& bodyEnd) {
    while (!rest_.empty()) {
      const std::size_t start = position();
      const std::string_view line = takeLine(rest_);
      if (const std::optional<End> end = boundaryOf(line)) {
        bodyEnd = start;
        if (bodyEnd > bodyStart && source_[bodyEnd - 1] == '\n') --bodyEnd;
        if (bodyEnd > bodyStart && source_[bodyEnd - 1] == '\r') --bodyEnd;
        return *end;
      }
    }
    bodyEnd = source_.size();
    return {kEndOfText, true};
  }

  [[nodiscard]] std::optional<End> boundaryOf(std::string_view line) const {
    if (!line.starts_with("--")) return std::nullopt;
    line.remove_prefix(2);
    for (std::size_t level = boundaries_.size(); level-- > 0;) {
      if (!line.starts_with(boundaries_[level])) continue;
      std::string_view after = line.substr(boundaries_[level].size());
      const bool closing = after.starts_with("--");
      if (closing) after.remove_prefix(2);
      if (after.find_first_not_of(" \t\r") == std::string_view::npos) return End{level, closing};
    }
    return std::nullopt;
  }

  // A part's header stops at a boundary line too: a part may consist of nothing.
  std::string_view headerText() {
    const std::size_t start = position();
    std::string_view ahead = rest_;
    while (!ahead.empty()) {
      const std::size_t lineStart = source_.size() - ahead.size();
      const std::string_view line = takeLine(ahead);
      if (boundaryOf(line)) return source_.substr(start, lineStart - start);
      if (line.empty()) break;
    }
    return source_.substr(start, source_.size() - ahead.size() - start);
  }

  End part(std::string_view defaultType) {
    const std::string_view text = headerText();
    const HeaderFields header(text);
    const std::size_t bodyStart = position() + header.bodyStart();
    rest_ = source_.substr(bodyStart);
    const std::optional<std::string> field = header.field("Content-Type");
    BodyPart body;
    body.contentType = parseContentType(field ? field : std::optional<std::string>(defaultType));
    const bool attachment = isAttachment(header);
    if (isMultipart(body.contentType) && !attachment && boundaries_.size() < kDeepest) {
      return multipart(body.contentType, bodyStart);
    }
    body.transferEncoding = transferEncoding(header);
    std::size_t bodyEnd = bodyStart;
    const End end = skipToBoundary(bodyStart, bodyEnd);
    body.source = source_.substr(bodyStart, bodyEnd - bodyStart);
    if (!attachment) keep(std::move(body));
    return end;
  }

  End multipart(const ContentType& type, std::size_t bodyStart) {
    const std::size_t level = boundaries_.size();
    boundaries_.push_back(type.boundary);
    const std::string_view childType = type.type == "multipart/digest" ? "message/rfc822" : "text/plain";
    std::size_t ignored = 0;
    End end = skipToBoundary(bodyStart, ignored);
    while (end.level == level && !end.closing) end = part(childType);
    boundaries_.pop_back();
    // What follows the closing boundary is for nobody.
    if (end.level == level) end = skipToBoundary(position(), ignored);
    return end;
  }

  void keep(BodyPart body) {
    const std::string& type = body.contentType.type;
    if (!type.starts_with("text/")) return;
    std::optional<BodyPart>& place = type == "text/html"    ? found_.html
                                     : type == "text/plain" ? found_.plain
                                                            : found_.otherText;
    if (!place) place = std::move(body);
  }

  std::string_view source_;
  std::string_view rest_;
  std::vector<std::string> boundaries_;  // of the multiparts around the place that is being read
  TextParts found_;
};

}  // namespace

ContentType parseContentType(const std::optional<std::string>& field) {
  ContentType result;
  result.type = "text/plain";
  if (!field) return result;
  ParameterReader reader(*field);
  const std::string type = reader.value();
  const std::size_t slash = type.find('/');
  if (slash != std::string::npos && slash > 0 && slash + 1 < type.size()) result.type = type;
  while (const auto parameter = reader.next()) {
    if (parameter->name == "charset" && result.charset.empty()) result.charset = parameter->value;
    if (parameter->name == "boundary" && result.boundary.empty()) result.boundary = parameter->value;
  }
  return result;
}

std::string BodyPart::text() const {
  const std::string_view bounded = source.substr(0, kLongestText);
  std::string bytes;
  if (transferEncoding == "base64") {
    bytes = base64DecodeBody(bounded);
  } else if (transferEncoding == "quoted-printable") {
    bytes = quotedPrintableDecode(bounded);
  } else {
    bytes = bounded;
  }
  if (!contentType.charset.empty()) {
    if (std::optional<std::string> converted = charsetToText(contentType.charset, bytes, kLongestText))
      return std::move(*converted);
  }
  return unlabelledToText(bytes, kLongestText);
}

TextParts findTextParts(std::string_view source) {
  return Walker(source).walk();
}

}  // namespace vornelle
