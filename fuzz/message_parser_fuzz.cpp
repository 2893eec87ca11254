// Any text as a message: the parser must come back, and what it gives must be text of a sensible
// length.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "mail/mail_component.h"
#include "mail/message_parser.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  const vornelle::MailMessage header = vornelle::parseMessageHeader(text);
  const vornelle::MailMessage message = vornelle::parseMessage(text);
  // The header is read the same way with and without the body behind it, and no field can break a line of the
  // log.
  if (header.from != message.from || header.subject != message.subject || header.date != message.date)
    std::abort();
  if ((message.from + message.subject).find_first_of(std::string_view("\r\n\0", 3)) != std::string::npos) {
    std::abort();
  }
  if (message.rawText != text) std::abort();
  // A header that is found in the first half is the header.
  const std::string half = text.substr(0, size / 2);
  if (const auto start = vornelle::parseMessageStart(half, false)) {
    if (start->from != message.from || start->subject != message.subject || start->date != message.date)
      std::abort();
  }
  // One byte becomes a reference ("&#65533;") at the most.
  for (const std::string* body : {&message.getPlainBody(), &message.getHtmlBody(), &message.getBodyText(0)}) {
    if (body->size() > 8 * size) std::abort();
  }
  return 0;
}
