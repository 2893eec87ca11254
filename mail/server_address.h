// What a server setting says: where the server is and how the connection to it is protected.
//
//   mail.example               plain; port 110 (POP3) or 25 (SMTP)
//   mail.example:995           a port alone: 995 and 465 mean encrypted at once, 587 by STARTTLS,
//                              any other plain
//   tls://mail.example         encrypted at once; without a port 995 (POP3) or 465 (SMTP; RFC 8314)
//   starttls://mail.example    encrypted by STLS or STARTTLS; without a port 110 (POP3) or 587 (SMTP)
//   plain://mail.example:995   not encrypted, whatever the port
//   [::1]:110, ::1             IPv6 addresses; in brackets where a port follows
#pragma once

#include <string>
#include <string_view>

#include "mail/mail_failure.h"

namespace vornelle {

enum class Protection { none, tls, startTls };

struct ServerAddress {
  std::string host;  // without brackets
  int port = 0;
  Protection protection = Protection::none;
};

struct ServerField {
  MailReason problem = MailReason::none;  // or fieldUnreadable, or schemeUnknown
  ServerAddress address;                  // where there is no problem
};

// Blanks around the text are ignored, and so is the letter case of the scheme. A text with several colons and
// no brackets is an IPv6 address without a port.
[[nodiscard]] ServerField parseServerField(std::string_view text, MailProtocol protocol);

// "host:port", an IPv6 address in brackets.
[[nodiscard]] std::string hostAndPort(std::string_view host, int port);

// Whether the host is this computer by its own addresses or the name localhost: nothing crosses a network on
// the way there.
[[nodiscard]] bool isThisComputer(std::string_view host);

}  // namespace vornelle
