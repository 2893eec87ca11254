// Why a mail task failed: what went wrong, at which step, in whose words, and the sentence that tells the
// user what to do about it.
#pragma once

#include <string>
#include <string_view>

namespace vornelle {

enum class MailProtocol { pop3, smtp };

// What was being done when it failed.
enum class MailStep {
  none,
  connecting,  // name, connection
  greeting,    // the server's first words, and EHLO
  securing,    // STLS or STARTTLS, handshake, certificate
  loggingOn,
  listing,   // headers or unique-ids of the mailbox
  fetching,  // a message
  deleting,
  sending,
};

enum class MailReason {
  none,  // nothing has failed
  // What was entered.
  fieldUnreadable,      // the server field is neither host nor host:port, nor one with a known scheme
  schemeUnknown,        // what stands before "://"
  credentialsUnusable,  // a line end or a NUL in the account or password
  addressUnusable,      // no address that a message can be sent to, or one that would end the command
  // The way there.
  nameNotFound,
  unreachable,
  refused,
  timedOut,
  closed,  // by the server, or the line was lost
  // What the server says.
  saidNo,
  nonsense,   // not the protocol
  noMessage,  // the message is not there, or could not be had whole
  // Encryption.
  tlsMissing,             // this program was built without it
  tlsNotOffered,          // the server does not know STLS or STARTTLS, or refuses it
  tlsNotSpoken,           // there is a server, and it does not speak TLS at that port
  tlsInjected,            // bytes stood behind the answer to STLS or STARTTLS
  tlsVersion,             // only versions that are not safe any more
  tlsFailed,              // the handshake came to nothing
  certificateUntrusted,   // no chain to an authority that this computer trusts
  certificateSelfSigned,  // it vouches for itself
  certificateExpired,
  certificateNotYetValid,
  certificateWrongName,
  certificateWeak,     // short key, old signature
  certificateBad,      // not for servers, damaged, against constraints
  certificateChanged,  // another one than the accepted one
  // This computer.
  outOfMemory,
};

struct MailFailure {
  MailReason reason = MailReason::none;
  MailStep step = MailStep::none;
  MailProtocol protocol = MailProtocol::pop3;
  std::string words;  // the server's own line, cleaned; "" where it said nothing
  std::string host;   // as it is entered, without scheme and port; the whole field where it cannot be read
  int port = 0;
  bool encrypted = false;           // TLS was asked for
  std::string certificateName;      // whom the refused certificate is for
  std::string fingerprint;          // of the refused certificate: SHA-256, 64 hexadecimal digits
  std::string acceptedFingerprint;  // of the one that had been accepted for this host and port, if any

  [[nodiscard]] bool isCertificate() const {
    return reason >= MailReason::certificateUntrusted && reason <= MailReason::certificateChanged;
  }
  [[nodiscard]] explicit operator bool() const { return reason != MailReason::none; }
};

// Whether the server did not take account and password, or they cannot even be sent.
[[nodiscard]] bool isLogOnRefused(const MailFailure& failure);

// The names of the values, as they are spelled above: for machines to read.
[[nodiscard]] std::string_view reasonName(MailReason reason);
[[nodiscard]] std::string_view stepName(MailStep step);

// What went wrong and what to do about it: two or three sentences of plain English, one line.
// It is text, not HTML: it quotes the server and what has been entered. "" when nothing has failed.
[[nodiscard]] std::string failureText(const MailFailure& failure);

// The further line of the event log for a connection that was to be encrypted and could not be: "**TLS to
// mail.example: certificate not trusted, SHA-256 AB:CD:..."; "" for every other failure.
[[nodiscard]] std::string tlsLogLine(const MailFailure& failure);

// Logs the line of a failed task and behind it, where there is one, the further line. The failure is taken
// by value: logging lets events in.
void logFailure(std::string_view line, MailFailure failure);

// The server's line as it may be shown and logged: one line of the program's text without control characters,
// cut at 300 bytes with "..." behind them, and with asterisks where the server repeats the secret. One of
// fewer than four characters is not looked for.
[[nodiscard]] std::string cleanedWords(std::string_view line, std::string_view secret = "");

// "AB:CD:..." for a fingerprint of hexadecimal digits, as certificates are shown elsewhere.
[[nodiscard]] std::string shownFingerprint(std::string_view fingerprint);

// What the last task met at each server, for the pages: it stays when the mail component has gone. The next
// task clears its entry when it connects.
struct LastMailFailures {
  MailFailure pop, smtp;
};
extern LastMailFailures lastMailFailures;

// The further lines for both servers, behind a test of the settings: it tells of a failure on the screen, and
// has no log line for it.
void logLastTlsFailures();

}  // namespace vornelle
