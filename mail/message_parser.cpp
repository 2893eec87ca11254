#include "mail/message_parser.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <optional>
#include <utility>

#include "mail/charset.h"
#include "mail/header_fields.h"
#include "mail/mail_component.h"
#include "mail/mail_date.h"
#include "mail/mime.h"

namespace vornelle {
namespace {

// No honest field comes near it.
constexpr std::size_t kLongestField = 16U << 10;

std::string boundedText(const HeaderFields& header, std::string_view name) {
  std::string text = header.fieldText(name);
  if (text.size() <= kLongestField) return text;
  return text.substr(0, kLongestField);  // a new string: the old one keeps its memory
}

void readHeader(const HeaderFields& header, MailMessage& message) {
  message.from = boundedText(header, "From");
  message.subject = boundedText(header, "Subject");
  message.date = parseMailDate(header.field("Date").value_or(""));
}

// Text is shown with CR LF line ends; a body that was encoded may have others.
std::string withCrLf(std::string text) {
  const auto isLone = [&text](std::size_t i) {
    if (text[i] == '\n') return i == 0 || text[i - 1] != '\r';
    return text[i] == '\r' && (i + 1 == text.size() || text[i + 1] != '\n');
  };
  std::size_t lone = 0;
  for (std::size_t i = 0; i < text.size(); ++i) lone += isLone(i) ? 1 : 0;
  if (lone == 0) return text;
  std::string out;
  out.reserve(text.size() + lone);
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (isLone(i)) {
      out += "\r\n";
    } else {
      out.push_back(text[i]);
    }
  }
  return out;
}

// The body as text for a message that has neither a plain nor an HTML part: another text part, or the source
// as it is.
std::string fallbackText(const TextParts& parts, std::string_view source, std::size_t bodyStart) {
  if (parts.otherText) return withCrLf(parts.otherText->text());
  BodyPart body;
  body.source = source.substr(std::min(bodyStart, source.size()));
  return withCrLf(body.text());
}

}  // namespace

MailMessage parseMessageHeader(std::string_view text) {
  MailMessage message;
  readHeader(HeaderFields(text), message);
  return message;
}

MailMessage parseMessage(std::string text) {
  MailMessage message;
  const HeaderFields header(text);
  readHeader(header, message);
  const TextParts parts = findTextParts(text);
  if (parts.html) {
    message.htmlBodyPresent = true;
    message.htmlBody = parts.html->text();
  }
  if (parts.plain) {
    message.plainBodyPresent = true;
    message.plainBody = withCrLf(parts.plain->text());
  }
  message.bodyText = message.plainBodyPresent  ? message.plainBody
                     : message.htmlBodyPresent ? message.htmlBody
                                               : fallbackText(parts, text, header.bodyStart());
  message.size = static_cast<std::int32_t>(
      std::min<std::size_t>(text.size(), static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max())));
  message.rawText = std::move(text);
  return message;
}

}  // namespace vornelle
