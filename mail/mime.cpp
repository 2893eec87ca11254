#include "mail/mime.h"

#include <algorithm>
#include <utility>

#include "base/characters.h"
#include "base/text.h"
#include "mail/base64.h"
#include "mail/charset.h"
#include "mail/encoded_words.h"
#include "mail/header_fields.h"
#include "mail/quoted_printable.h"

namespace vornelle {
namespace {

constexpr std::size_t kDeepest = 32;
constexpr std::size_t kLongestText = 64U << 20;
constexpr std::size_t kLongestName = 300;

bool isMultipart(const ContentType& type) {
  return type.type.starts_with("multipart/") && !type.boundary.empty();
}

bool isMessage(const ContentType& type) {
  return type.type == "message/rfc822" || type.type == "message/global";
}

bool isAttachment(const HeaderFields& header) {
  const std::optional<std::string> field = header.field("Content-Disposition");
  if (!field) return false;
  const std::string disposition = fieldValue(*field);
  return !disposition.empty() && disposition != "inline";
}

std::string transferEncoding(const HeaderFields& header) {
  const std::optional<std::string> field = header.field("Content-Transfer-Encoding");
  return field ? fieldValue(*field) : "";
}

// The name of a set in which the meta element itself could be read.
bool isAsciiCompatible(const std::string& charset) {
  constexpr std::string_view kMarkup = "<a href=\"~+-\">";
  return charsetToText(charset, kMarkup) == kMarkup;
}

Attachment attachmentOf(const HeaderFields& header, const BodyPart& body) {
  Attachment attachment;
  attachment.type = body.contentType.type;
  for (const auto& [field, parameter] :
       {std::pair{"Content-Disposition", "filename"}, {"Content-Type", "name"}}) {
    const std::optional<std::string> value = header.field(field);
    if (!value || !attachment.name.empty()) continue;
    const std::string name = fieldParameter(*value, parameter);
    attachment.name = name.find("=?") == std::string::npos
                          ? unlabelledToText(name, kLongestName)
                          : std::string(firstBytes(decodeEncodedWords(name), kLongestName));
  }
  attachment.name = attachment.name.substr(attachment.name.find_last_of("\\/") + 1);
  attachment.bytes = body.source.size();
  if (body.transferEncoding == "base64") {
    const auto lineEnds = static_cast<std::size_t>(std::count_if(
        body.source.begin(), body.source.end(), [](char c) { return c == '\r' || c == '\n' || c == '='; }));
    attachment.bytes = (body.source.size() - lineEnds) / 4 * 3 + (body.source.size() - lineEnds) % 4;
  }
  return attachment;
}

class Walker {
 public:
  explicit Walker(std::string_view source) : source_(source), rest_(source) {}

  TextParts walk() {
    part("text/plain");
    if (!found_.plain && !found_.html && !found_.otherText) found_ = std::move(inMessages_);
    if (!found_.plain && !found_.html && !found_.otherText) found_.otherText = std::move(attached_);
    found_.attachments = std::move(attachments_);
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
    if (boundaries_.size() + messages_ < kDeepest) {
      if (isMultipart(body.contentType) && !attachment) return multipart(body.contentType, bodyStart);
      if (isMessage(body.contentType)) return message();
    }
    body.transferEncoding = transferEncoding(header);
    std::size_t bodyEnd = bodyStart;
    const End end = skipToBoundary(bodyStart, bodyEnd);
    body.source = source_.substr(bodyStart, bodyEnd - bodyStart);
    if ((attachment || !body.contentType.type.starts_with("text/")) &&
        attachments_.size() < kMostAttachments) {
      attachments_.push_back(attachmentOf(header, body));
    }
    keep(std::move(body), attachment);
    return end;
  }

  // A message as a part of another one, whether attached or not.
  End message() {
    ++messages_;
    const End end = part("text/plain");
    --messages_;
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

  void keep(BodyPart body, bool attachment) {
    const std::string& type = body.contentType.type;
    if (!type.starts_with("text/")) return;
    TextParts& found = messages_ > 0 ? inMessages_ : found_;
    std::optional<BodyPart>& place = attachment             ? attached_
                                     : type == "text/html"  ? found.html
                                     : type == "text/plain" ? found.plain
                                                            : found.otherText;
    if (!place) place = std::move(body);
  }

  std::string_view source_;
  std::string_view rest_;
  std::vector<std::string> boundaries_;  // of the multiparts around the place that is being read
  std::size_t messages_ = 0;             // around that place, but for the one that is the source
  TextParts found_, inMessages_;
  std::vector<Attachment> attachments_;
  std::optional<BodyPart> attached_;  // the first attached text
};

}  // namespace

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
  std::optional<std::string> converted = charsetToText(contentType.charset, bytes, kLongestText);
  if (!converted && contentType.type == "text/html") {
    const std::string named = metaCharset(bytes);
    if (isAsciiCompatible(named)) converted = charsetToText(named, bytes, kLongestText);
  }
  if (converted) return std::move(*converted);
  return unlabelledToText(bytes, kLongestText);
}

TextParts findTextParts(std::string_view source) {
  return Walker(source).walk();
}

}  // namespace vornelle
