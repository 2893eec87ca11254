#include "mail/mail_failure.h"

#include <algorithm>
#include <array>

#include "base/characters.h"
#include "base/module_state.h"
#include "base/text.h"
#include "core/event_log.h"
#include "mail/charset.h"

namespace vornelle {
namespace {

constexpr std::size_t kLongestWords = 300;

// A secret this short stands in many a line by chance; what it hides would tell it.
constexpr std::size_t kShortestHiddenSecret = 4;

template <typename Value>
struct Named {
  Value value;
  std::string_view name;
};
// Not every compiler deduces this for an aggregate.
template <typename Value>
Named(Value, const char*) -> Named<Value>;

constexpr std::array kReasonNames = {
    Named{MailReason::none, "none"},
    Named{MailReason::fieldUnreadable, "fieldUnreadable"},
    Named{MailReason::schemeUnknown, "schemeUnknown"},
    Named{MailReason::credentialsUnusable, "credentialsUnusable"},
    Named{MailReason::addressUnusable, "addressUnusable"},
    Named{MailReason::nameNotFound, "nameNotFound"},
    Named{MailReason::unreachable, "unreachable"},
    Named{MailReason::refused, "refused"},
    Named{MailReason::timedOut, "timedOut"},
    Named{MailReason::closed, "closed"},
    Named{MailReason::saidNo, "saidNo"},
    Named{MailReason::nonsense, "nonsense"},
    Named{MailReason::noMessage, "noMessage"},
    Named{MailReason::tlsMissing, "tlsMissing"},
    Named{MailReason::tlsNotOffered, "tlsNotOffered"},
    Named{MailReason::tlsNotSpoken, "tlsNotSpoken"},
    Named{MailReason::tlsInjected, "tlsInjected"},
    Named{MailReason::tlsVersion, "tlsVersion"},
    Named{MailReason::tlsFailed, "tlsFailed"},
    Named{MailReason::certificateUntrusted, "certificateUntrusted"},
    Named{MailReason::certificateSelfSigned, "certificateSelfSigned"},
    Named{MailReason::certificateExpired, "certificateExpired"},
    Named{MailReason::certificateNotYetValid, "certificateNotYetValid"},
    Named{MailReason::certificateWrongName, "certificateWrongName"},
    Named{MailReason::certificateWeak, "certificateWeak"},
    Named{MailReason::certificateBad, "certificateBad"},
    Named{MailReason::certificateChanged, "certificateChanged"},
    Named{MailReason::outOfMemory, "outOfMemory"},
};

constexpr std::array kStepNames = {
    Named{MailStep::none, "none"},           Named{MailStep::connecting, "connecting"},
    Named{MailStep::greeting, "greeting"},   Named{MailStep::securing, "securing"},
    Named{MailStep::loggingOn, "loggingOn"}, Named{MailStep::listing, "listing"},
    Named{MailStep::fetching, "fetching"},   Named{MailStep::deleting, "deleting"},
    Named{MailStep::sending, "sending"},
};

template <typename Names, typename Value>
std::string_view nameOf(const Names& names, Value value) {
  const auto found =
      std::find_if(names.begin(), names.end(), [value](const auto& one) { return one.value == value; });
  return found == names.end() ? std::string_view() : found->name;
}

// "While logging on, ", to stand in front of a sentence.
std::string_view whileDoing(MailStep step) {
  switch (step) {
    case MailStep::none:
    case MailStep::connecting:
      return "";
    case MailStep::greeting:
      return "Before the log-on, ";
    case MailStep::securing:
      return "While the encryption was being set up, ";
    case MailStep::loggingOn:
      return "While logging on, ";
    case MailStep::listing:
      return "While the mailbox was being listed, ";
    case MailStep::fetching:
      return "While a message was being fetched, ";
    case MailStep::deleting:
      return "While a message was being deleted, ";
    case MailStep::sending:
      return "While a message was being sent, ";
  }
  return "";
}

std::string place(const MailFailure& failure) {
  return failure.port == 0 ? failure.host : failure.host + " (port " + std::to_string(failure.port) + ")";
}

bool isPop(const MailFailure& failure) {
  return failure.protocol == MailProtocol::pop3;
}

// The server fields that encrypt, for a host.
std::string encryptedField(const MailFailure& failure) {
  return "tls://" + failure.host;
}

constexpr std::string_view kTryAgain = " Try again later.";

std::string timedOutText(const MailFailure& failure) {
  if (failure.step == MailStep::connecting) {
    return place(failure) +
           " did not answer in time. Check the server's name and port, whether this computer is online, and "
           "whether a firewall is in the way.";
  }
  // A server that waits for a handshake says nothing to a client that waits for its greeting.
  if (failure.step == MailStep::greeting && !failure.encrypted) {
    return place(failure) +
           " took the connection and then said nothing. It may expect an encrypted connection at that port: "
           "try " +
           encryptedField(failure) + ":" + std::to_string(failure.port) + ".";
  }
  return std::string(whileDoing(failure.step)) + place(failure) + " stopped answering." +
         std::string(kTryAgain);
}

std::string closedText(const MailFailure& failure) {
  const std::string text =
      std::string(whileDoing(failure.step)) + place(failure) + " closed the connection, or the line was cut.";
  if (failure.step == MailStep::securing) return text + " Check the port; otherwise try again later.";
  if (failure.step == MailStep::greeting && !failure.encrypted) {
    return text + " It may expect an encrypted connection at that port: try " + encryptedField(failure) +
           ", or try again later.";
  }
  return text + std::string(kTryAgain);
}

std::string saidNoText(const MailFailure& failure) {
  const std::string said = failure.words.empty() ? " said no." : " said: \"" + failure.words + "\"";
  const std::string text = std::string(whileDoing(failure.step)) + place(failure) + said;
  if (failure.step == MailStep::loggingOn) {
    return text +
           " Check user name and password. Many providers want access by mail programs to be switched on in "
           "the account's settings, and a password made for that program (app password).";
  }
  if (failure.step == MailStep::sending) {
    return text + " Check the email address and whether the server wants a user name and a password.";
  }
  return text + std::string(kTryAgain);
}

std::string certificateText(const MailFailure& failure) {
  std::string text = "The certificate of " + place(failure);
  const std::string whose =
      failure.certificateName.empty() ? std::string("another name") : failure.certificateName;
  switch (failure.reason) {
    case MailReason::certificateUntrusted:
      text += " comes from an authority that this computer does not trust";
      break;
    case MailReason::certificateSelfSigned:
      text += " vouches for itself; no authority stands behind it";
      break;
    case MailReason::certificateExpired:
      text += " has expired";
      break;
    case MailReason::certificateNotYetValid:
      text += " is not valid yet";
      break;
    case MailReason::certificateWrongName:
      text += " is for " + whose;
      break;
    case MailReason::certificateWeak:
      text += " has a key or a signature that is too weak";
      break;
    case MailReason::certificateChanged:
      text += " is not the one that was accepted";
      break;
    default:
      text += " is not fit for this use";
      break;
  }
  text += ". Nothing has been sent, no password either.";
  if (failure.reason == MailReason::certificateChanged) {
    text += " Accepted: SHA-256 " + shownFingerprint(failure.acceptedFingerprint) + ". Shown now: SHA-256 " +
            shownFingerprint(failure.fingerprint) +
            ". Unless you know that the certificate has been changed, somebody may be in between.";
    return text;
  }
  if (!failure.fingerprint.empty()) text += " SHA-256 " + shownFingerprint(failure.fingerprint) + ".";
  switch (failure.reason) {
    case MailReason::certificateExpired:
    case MailReason::certificateNotYetValid:
      text += " Check date and time of this computer; otherwise whoever runs the server has to renew it.";
      break;
    case MailReason::certificateWrongName:
      text += " Use the server name that your provider gives, exactly.";
      break;
    case MailReason::certificateUntrusted:
    case MailReason::certificateSelfSigned:
      text +=
          " At a provider's server do not go on; at a server of your own compare the fingerprint and accept "
          "it on the settings page.";
      break;
    default:
      text += " Ask whoever runs the server.";
      break;
  }
  return text;
}

std::string tlsNotOfferedText(const MailFailure& failure) {
  std::string text = place(failure) + " does not offer " + (isPop(failure) ? "STLS" : "STARTTLS") +
                     " here, so the connection cannot be encrypted this way, and nothing else has been sent.";
  if (!failure.words.empty()) text += " It said: \"" + failure.words + "\"";
  return text + " Try " + encryptedField(failure) +
         (isPop(failure) ? ", which uses port 995." : ", which uses port 465.");
}

}  // namespace

LastMailFailures lastMailFailures;
static const ModuleState failuresState([] { lastMailFailures = {}; });

bool isLogOnRefused(const MailFailure& failure) {
  return failure.reason == MailReason::credentialsUnusable ||
         (failure.reason == MailReason::saidNo && failure.step == MailStep::loggingOn);
}

std::string_view reasonName(MailReason reason) {
  return nameOf(kReasonNames, reason);
}

std::string_view stepName(MailStep step) {
  return nameOf(kStepNames, step);
}

std::string failureText(const MailFailure& failure) {
  const std::string server = isPop(failure) ? "POP3" : "SMTP";
  switch (failure.reason) {
    case MailReason::none:
      return "";
    case MailReason::fieldUnreadable:
      if (failure.host.empty()) return "No " + server + " server has been entered.";
      return "\"" + failure.host +
             "\" is no server that can be read. Enter a name, or a name and a port, such as " +
             (isPop(failure) ? "mail.example:995." : "mail.example:465.");
    case MailReason::schemeUnknown:
      return "\"" + failure.host +
             "\" starts with a kind of connection that Vornelle does not know. In front of the server's name "
             "stand tls://, starttls://, plain:// or nothing.";
    case MailReason::credentialsUnusable:
      return "The account name or the password holds a character that cannot be sent. Enter both again.";
    case MailReason::addressUnusable:
      return "The message cannot be sent to the email address of the settings, or its sender is none. Check "
             "the email address on the settings page.";
    case MailReason::nameNotFound:
      return "There is no server named " + failure.host +
             ". Check how it is spelled, and whether this computer is online.";
    case MailReason::unreachable:
      return place(failure) + " cannot be reached. Check whether this computer is online.";
    case MailReason::refused:
      return place(failure) + " takes no connections at that port. Check the port: encrypted " + server +
             (isPop(failure) ? " is usually at 995." : " is usually at 465 or 587.");
    case MailReason::timedOut:
      return timedOutText(failure);
    case MailReason::closed:
      return closedText(failure);
    case MailReason::saidNo:
      return saidNoText(failure);
    case MailReason::nonsense:
      return std::string(whileDoing(failure.step)) + place(failure) + " sent what is no " + server + "." +
             (failure.words.empty() ? "" : " It said: \"" + failure.words + "\"") +
             " Check the server's name and port.";
    case MailReason::noMessage:
      return place(failure) +
             " does not have that message any more, or could not send it whole. It is not deleted. Look at "
             "the Inbox again.";
    case MailReason::tlsMissing:
      return "This program was built without encryption, and an encrypted connection is wanted. Use another "
             "build of it.";
    case MailReason::tlsNotOffered:
      return tlsNotOfferedText(failure);
    case MailReason::tlsNotSpoken:
      return place(failure) +
             " does not speak TLS at that port. Check the port; where the connection starts in plain text, "
             "write starttls:// instead of tls://.";
    case MailReason::tlsInjected:
      return place(failure) +
             " sent more than it should before the encryption began. Somebody may be in between; nothing has "
             "been sent.";
    case MailReason::tlsVersion:
      return place(failure) +
             " only speaks versions of TLS that are not safe any more (1.1 or older), or none that this "
             "computer knows. Ask whoever runs the server.";
    case MailReason::tlsFailed:
      return place(failure) + " and this computer could not agree on an encrypted connection." +
             (failure.words.empty() ? "" : " The system says: \"" + failure.words + "\"") +
             " Check the port; otherwise ask whoever runs the server.";
    case MailReason::outOfMemory:
      return std::string(whileDoing(failure.step)) +
             "this computer's memory did not suffice. Nothing is deleted. Close other programs and try "
             "again.";
    default:
      return certificateText(failure);
  }
}

std::string tlsLogLine(const MailFailure& failure) {
  if (!failure.encrypted) return "";
  const auto phrase = [&]() -> std::string {
    switch (failure.reason) {
      case MailReason::tlsMissing:
        return "this program was built without it";
      case MailReason::tlsNotOffered:
        return "not offered";
      case MailReason::tlsNotSpoken:
        return "not spoken at that port";
      case MailReason::tlsInjected:
        return "plain text where the encryption should begin";
      case MailReason::tlsVersion:
        return "no safe version in common";
      case MailReason::tlsFailed:
        return "no agreement";
      case MailReason::certificateUntrusted:
        return "certificate not trusted";
      case MailReason::certificateSelfSigned:
        return "certificate vouches for itself";
      case MailReason::certificateExpired:
        return "certificate has expired";
      case MailReason::certificateNotYetValid:
        return "certificate is not valid yet";
      case MailReason::certificateWrongName:
        return "certificate is for " +
               (failure.certificateName.empty() ? std::string("another name") : failure.certificateName);
      case MailReason::certificateWeak:
        return "certificate is too weak";
      case MailReason::certificateBad:
        return "certificate not fit for this use";
      case MailReason::certificateChanged:
        return "certificate is not the accepted one, accepted SHA-256 " +
               shownFingerprint(failure.acceptedFingerprint) + ", shown";
      case MailReason::timedOut:
        return failure.step == MailStep::securing ? "no end in time" : "";
      case MailReason::closed:
        return failure.step == MailStep::securing ? "connection closed" : "";
      default:
        return "";
    }
  }();
  if (phrase.empty()) return "";
  std::string line = "**TLS to " + failure.host + ": " + phrase;
  if (failure.isCertificate()) {
    line += (failure.reason == MailReason::certificateChanged ? " SHA-256 " : ", SHA-256 ") +
            shownFingerprint(failure.fingerprint);
  } else if (!failure.words.empty()) {
    line += " (" + failure.words + ")";
  }
  return line;
}

// NOLINTNEXTLINE(performance-unnecessary-value-param)
void logFailure(std::string_view line, MailFailure failure) {
  const std::string further = tlsLogLine(failure);
  LogWindowAdd(line);
  if (!further.empty()) LogWindowAdd(further);
}

void logLastTlsFailures() {
  const LastMailFailures failures = lastMailFailures;  // logging lets events in
  for (const MailFailure* const failure : {&failures.pop, &failures.smtp}) {
    if (const std::string line = tlsLogLine(*failure); !line.empty()) LogWindowAdd(line);
  }
}

std::string cleanedWords(std::string_view line, std::string_view secret) {
  std::string words = unlabelledToText(line, 4 * kLongestWords);
  if (secret.size() >= kShortestHiddenSecret) words = replaceAllNoCase(words, secret, "****");
  for (char& c : words) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte < 0x20 || byte == 0x7F) c = ' ';
  }
  words = trim(words);
  if (words.size() > kLongestWords) words = std::string(firstBytes(words, kLongestWords)) + "...";
  return words;
}

std::string shownFingerprint(std::string_view fingerprint) {
  std::string shown;
  for (std::size_t i = 0; i < fingerprint.size(); ++i) {
    if (i > 0 && i % 2 == 0) shown.push_back(':');
    shown.push_back(toUpperChar(fingerprint[i]));
  }
  return shown;
}

}  // namespace vornelle
