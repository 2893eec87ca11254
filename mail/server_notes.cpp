#include "mail/server_notes.h"

#include "core/settings.h"
#include "mail/server_address.h"

namespace vornelle {
namespace {

const MailFailure& lastFailure(MailProtocol protocol) {
  return protocol == MailProtocol::pop3 ? lastMailFailures.pop : lastMailFailures.smtp;
}

std::string plainPasswordWarning(MailProtocol protocol) {
  const bool pop = protocol == MailProtocol::pop3;
  const ServerField field = parseServerField(pop ? settings.POP_SERVER : settings.SMTP_SERVER, protocol);
  const bool sendsPassword = pop ? !settings.POP_PASSWORD.empty() : !settings.SMTP_USER.empty();
  if (field.problem != MailReason::none || !sendsPassword) return "";
  const ServerAddress& server = field.address;
  if (server.protection != Protection::none || isThisComputer(server.host)) return "";
  return "The password for " + server.host +
         " crosses the network in plain text: whoever is on the way can read it. If the server offers an "
         "encrypted connection, enter " +
         hostAndPort(server.host, pop ? 995 : 465) + ".";
}

}  // namespace

std::string_view serverFieldHint(MailProtocol protocol) {
  return protocol == MailProtocol::pop3 ? "mail.example:995 for an encrypted connection."
                                        : "mail.example:465 or :587 for an encrypted connection.";
}

std::string serverNote(MailProtocol protocol) {
  std::string note = failureText(lastFailure(protocol));
  return note.empty() ? plainPasswordWarning(protocol) : note;
}

std::string serverNotesText() {
  std::string text;
  for (const MailProtocol protocol : {MailProtocol::pop3, MailProtocol::smtp}) {
    const std::string note = serverNote(protocol);
    if (note.empty()) continue;
    if (!text.empty()) text += "\n";
    text += (protocol == MailProtocol::pop3 ? "POP3: " : "SMTP: ") + note;
  }
  if (!text.empty()) return text;
  return "POP3: " + std::string(serverFieldHint(MailProtocol::pop3)) +
         "\nSMTP: " + std::string(serverFieldHint(MailProtocol::smtp));
}

const MailFailure* refusedCertificate(MailProtocol protocol) {
  const MailFailure& failure = lastFailure(protocol);
  return failure.isCertificate() && !failure.fingerprint.empty() ? &failure : nullptr;
}

}  // namespace vornelle
