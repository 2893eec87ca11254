#include "mail/message_parser.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <memory>
#include <new>
#include <optional>
#include <utility>

#include "base/characters.h"
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
  return std::string(firstBytes(text, kLongestField));  // a new string: the old one keeps its memory
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

std::optional<MailMessage> parseMessageStart(std::string_view text, bool whole) {
  // A line that is cut could be the empty one, or another.
  if (!whole) text = text.substr(0, text.rfind('\n') + 1);
  const HeaderFields header(text);
  if (!whole && !header.endsWithEmptyLine()) return std::nullopt;
  MailMessage message;
  readHeader(header, message);
  return message;
}

MailMessage parseMessage(std::string text) {
  MailMessage message = parseMessageHeader(text);
  message.size = messageSize(text.size());
  message.rawText = std::move(text);
  return message;
}

MessageBodies readBodies(std::string_view source) {
  MessageBodies bodies;
  const TextParts parts = findTextParts(source);
  if (parts.html) {
    bodies.htmlPresent = true;
    bodies.html = parts.html->text();
  }
  if (parts.plain) {
    bodies.plainPresent = true;
    bodies.plain = withCrLf(parts.plain->text());
  }
  bodies.text = bodies.plainPresent  ? bodies.plain
                : bodies.htmlPresent ? bodies.html
                                     : fallbackText(parts, source, HeaderFields(source).bodyStart());
  return bodies;
}

std::int32_t messageSize(std::uint64_t length) {
  constexpr auto kMost = static_cast<std::uint64_t>(std::numeric_limits<std::int32_t>::max());
  return static_cast<std::int32_t>(std::min(length, kMost));
}

const MessageBodies& MailMessage::bodies() const {
  if (!bodies_) {
    bodies_ = std::make_unique<MessageBodies>();
    try {
      *bodies_ = readBodies(rawText);
    } catch (const std::bad_alloc&) {
      *bodies_ = {};
    }
  }
  return *bodies_;
}

}  // namespace vornelle
