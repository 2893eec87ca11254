// What the settings page and the settings dialog tell about the two servers beside their fields.
#pragma once

#include <string>
#include <string_view>

#include "mail/mail_failure.h"

namespace vornelle {

// What a server field takes besides a name, in a few words.
[[nodiscard]] std::string_view serverFieldHint(MailProtocol protocol);

// A note on the server of the settings: why the last connection to it failed; else the warning that its
// password crosses the network in plain text, where it does (not to this computer itself); else "". One line
// of text, not HTML.
[[nodiscard]] std::string serverNote(MailProtocol protocol);

// The same for both servers, each behind its name and a colon, in lines ended by LF. Where there is nothing
// to note: the hint.
[[nodiscard]] std::string serverNotesText();

// The refused certificate that the user may accept for that server; null where the last failure was another
// one.
[[nodiscard]] const MailFailure* refusedCertificate(MailProtocol protocol);

}  // namespace vornelle
