#include "pages/message_actions.h"

#include <memory>
#include <optional>
#include <vector>

#include "core/event_log.h"
#include "core/form1.h"
#include "core/numbers.h"
#include "core/settings.h"
#include "core/text.h"
#include "mail/mail_component.h"
#include "mail/spambox_store.h"
#include "pages/message_page.h"
#include "pages/modSGML.h"
#include "platform/events.h"
#include "platform/files.h"
#include "platform/shell.h"

namespace vornelle {

namespace {

struct CheckedBox {
  bool restore = false;  // else delete
  std::string key;
  std::string sender;
};

std::string spamPath(const std::string& name) {
  return applicationFolder() + "\\spam\\" + name;
}

// A beep and a line in the log, and the page that tells the user.
std::string refuse(std::string_view logLine, std::string_view pageText) {
  beep();
  LogWindowAdd(logLine);
  return messagePage(pageText);
}

std::string cannotLogOn() {
  return refuse("**Cannot log onto POP3 server.", "Cannot log onto POP3 server. Try again later.");
}

// The id as the server spells it: the very one asked for if there is one, else one that differs in letter
// case only.
std::optional<std::string> findUidl(const UidlList* list, const std::string& uidl) {
  std::optional<std::string> found;
  for (int i = 0; list != nullptr && i < list->getCount(); i++) {
    const std::string* item = list->getItem(i);
    if (item == nullptr) continue;
    if (*item == uidl) return *item;
    if (!found && equalsNoCase(*item, uidl)) found = *item;
  }
  return found;
}

std::string bodyAsHtml(const MailMessage& message) {
  if (message.hasHtmlBody()) return message.getHtmlBody();
  std::string text = message.hasPlainBody() ? message.getPlainBody() : message.getBodyText(0);
  return textToHtml(text);
}

// One "name=value" pair; nullopt for a name that is no box, or a row that no page can have had.
std::optional<CheckedBox> readPair(std::string_view pair) {
  CheckedBox box;
  box.restore = pair.starts_with(settings.restorePrefix);
  if (!box.restore && !pair.starts_with(settings.deletePrefix)) return std::nullopt;
  const std::string& prefix = box.restore ? settings.restorePrefix : settings.deletePrefix;
  const std::string_view number = pair.substr(prefix.size(), pair.find('=') - prefix.size());
  // Only digits: a field that happens to begin with the prefix must not count as row 0.
  if (number.empty() || number.find_first_not_of("0123456789") != std::string_view::npos) return std::nullopt;
  const double row = val(number);
  if (row > kLastRow) return std::nullopt;
  box.key = form1.rowKey[static_cast<std::size_t>(row)];
  box.sender = form1.rowSender[static_cast<std::size_t>(row)];
  return box;
}

// The checked boxes in the order of the form; none without its submit button or without "&END" behind them.
std::vector<CheckedBox> checkedBoxes(std::string_view request) {
  std::size_t submit = findNoCase(request, "SUBMIT3=DELETE&");
  if (submit == std::string_view::npos) submit = findNoCase(request, "SUBMIT3=RESTORE-DELETE&");
  if (submit == std::string_view::npos) return {};
  std::string_view rest = request.substr(request.find('&', submit) + 1);
  std::vector<CheckedBox> boxes;
  for (;;) {
    const std::size_t end = findNoCase(rest, "&END");
    if (end == std::string_view::npos || end == 0) return boxes;
    const std::size_t next = rest.find('&');
    if (const auto box = readPair(rest.substr(0, next))) boxes.push_back(*box);
    rest.remove_prefix(next + 1);
  }
}

void deleteMail(const CheckedBox& box) {
  LogWindowAdd("Delete mail from " + box.sender);
  if (currentMail) currentMail->popDeleteMessage(box.key);
}

void deleteSavedSpam(const CheckedBox& box) {
  if (!fileExists(spamPath(box.key))) {
    LogWindowAdd("Problem deleting spam file " + box.key + ".txt");
    return;
  }
  LogWindowAdd("Delete spam from " + box.sender);
  if (!deleteSpam(box.key)) LogWindowAdd("Problem deleting spam file " + box.key + ".txt");
}

struct Outgoing {
  std::string sender;
  std::string text;
};

// Up to the first line with "UIDL:" inside it (the header "X-UIDL:" that servers add), the last "From:" line
// gives the sender. That line itself goes out empty.
Outgoing outgoingMessage(std::string_view source) {
  Outgoing message;
  bool inSearch = true;
  for (const std::string& line : splitLines(source)) {
    if (inSearch && line.find("UIDL:", 1) != std::string::npos) {
      inSearch = false;
    } else {
      if (inSearch && startsWithNoCase(line, "From:")) message.sender = trim(line.substr(line.find(':') + 1));
      message.text += line;
    }
    message.text += kCrLf;
  }
  return message;
}

// False when the server asks for a log-on and refuses it.
bool openSmtp() {
  currentMail = std::make_unique<MailComponent>();
  currentMail->setSmtpServer(settings.SMTP_SERVER);
  currentMail->setTimeoutSeconds(settings.mailTimeoutSeconds);
  if (!currentMail->smtpConnect()) {
    beep();
    LogWindowAdd("**Cannot connect to SMTP server!");  // and on: the steps below find out for themselves
  }
  if (settings.SMTP_USER.empty()) return true;
  bool loggedIn = false;
  if (currentMail) {
    currentMail->setSmtpUser(settings.SMTP_USER);
    currentMail->setSmtpPassword(settings.SMTP_PASSWORD);
    currentMail->setSmtpAuthMethod("LOGIN");
    loggedIn = currentMail->smtpLogin();
  }
  if (!loggedIn) {
    beep();
    LogWindowAdd("**Cannot log onto SMTP server!");
  }
  return loggedIn;
}

}  // namespace

std::string showMessage(const std::string& uidl) {
  std::string page;
  if (!newPopComponent().popConnect()) {
    page = cannotLogOn();
  } else if (const auto found = findUidl(currentMail->popGetUidls().get(), uidl); !found) {
    page = refuse("**Requested email does not exist!", "Requested email does not exist!");
  } else if (const auto message = currentMail->popGetMessage(*found)) {
    page = bodyAsHtml(*message);
  } else {
    page = cannotLogOn();  // the session broke off
  }
  currentMail.reset();
  return page;
}

std::string showSpam(const std::string& fileName) {
  if (fileName.find_first_of("\\/") != std::string::npos) return "";  // the SpamBox has no folders below it
  const auto file = readFile(applicationFolder() + "\\spam\\" + fileName);
  if (!file) return "";
  std::string text;
  for (const std::string& line : splitLines(*file)) text.append(line).append(kCrLf);
  return textToHtml(text);
}

void deleteChecked(std::string_view box) {
  const bool inbox = equalsNoCase(box, "INBOX");
  const std::vector<CheckedBox> boxes = checkedBoxes(form1.requestText);
  if (boxes.empty()) return;
  if (inbox) {
    MailComponent& mail = newPopComponent();
    mail.setSmtpServer(settings.SMTP_SERVER);
    if (!mail.popConnect()) {
      beep();
      LogWindowAdd("**Cannot log onto POP3 server!");
      currentMail.reset();
      return;
    }
  }
  for (const CheckedBox& checked : boxes) {
    doEvents();
    if (checked.restore) {
      restoreSpam(spamPath(checked.key));
    } else if (inbox) {
      deleteMail(checked);
    } else {
      deleteSavedSpam(checked);
    }
  }
  if (inbox) currentMail.reset();
}

void restoreSpam(const std::string& path) {
  if (openSmtp()) {
    const auto file = readFile(path);
    const Outgoing message = outgoingMessage(file.value_or(""));
    // A file that cannot be read is not sent as an empty message.
    const bool sent = file && currentMail &&
                      currentMail->smtpSendRaw(message.sender, settings.EMAIL_ADDRESS, message.text) == 1;
    LogWindowAdd((sent ? "Restore msg from " : "Problem restoring msg from ") + message.sender + " to InBox");
  }
  currentMail.reset();
}

}  // namespace vornelle
