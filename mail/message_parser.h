// From the source of a message to what the rest of the program wants to know of it. Nothing here fails: what
// cannot be read is empty. Sender and subject have at most 16 KiB; what is longer is cut.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace vornelle {

class MailMessage;
struct MessageBodies;

// Sender, subject and date. The text need not go on after the header.
[[nodiscard]] MailMessage parseMessageHeader(std::string_view text);

// The same from the start of a message; nullopt when the header does not end in it and there is more (`whole`
// is false).
[[nodiscard]] std::optional<MailMessage> parseMessageStart(std::string_view text, bool whole);

// The whole message. Its size is the length of the text.
[[nodiscard]] MailMessage parseMessage(std::string text);

// The bodies of a message, from its whole source.
[[nodiscard]] MessageBodies readBodies(std::string_view source);

// A length in bytes as the size of a message, which has 31 bits: the largest of these where it does not fit.
[[nodiscard]] std::int32_t messageSize(std::uint64_t length);

}  // namespace vornelle
