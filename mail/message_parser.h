// From the source of a message to what the rest of the program wants to know of it. Nothing here fails: what
// cannot be read is empty. Sender and subject have at most 16 KiB; what is longer is cut.
#pragma once

#include <string>
#include <string_view>

namespace vornelle {

class MailMessage;

// Sender, subject and date. The text need not go on after the header.
[[nodiscard]] MailMessage parseMessageHeader(std::string_view text);

// The whole message. Its size is the length of the text.
[[nodiscard]] MailMessage parseMessage(std::string text);

}  // namespace vornelle
