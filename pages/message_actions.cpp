#include "pages/message_actions.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <set>
#include <vector>

#include "base/module_state.h"
#include "base/numbers.h"
#include "base/text.h"
#include "base/url_decode.h"
#include "core/activity.h"
#include "core/event_log.h"
#include "core/form1.h"
#include "core/settings.h"
#include "mail/mail_component.h"
#include "mail/spambox_store.h"
#include "pages/befriend.h"
#include "pages/message_page.h"
#include "pages/message_rows.h"
#include "pages/modSGML.h"
#include "platform/events.h"
#include "platform/files.h"
#include "platform/shell.h"

namespace vornelle {
namespace {

// The keys of what has been restored and is still there. The SpamBox bounds it.
std::set<std::string, std::less<>> restoredKeys;
const ModuleState restoredState([] { restoredKeys.clear(); });

// One checked box of the form: what stood in its row when the form arrived.
struct CheckedRow {
  bool restore = false;
  std::int32_t row = 0;
  std::string key;
  std::string sender;
  bool stale = false;  // another message stands in the row than the one that was ticked
};

// Names come from the browser, and keys of an Inbox row from the server: neither may lead out of the SpamBox
// folder.
bool isNameInFolder(std::string_view name) {
  return !name.empty() && name.find_first_of("\\/:") == std::string_view::npos &&
         name.find('\0') == std::string_view::npos;
}

// The content of a file of the SpamBox; nullopt where there is none, and for a name that is no name in it.
std::optional<std::string> readSpamFile(const std::string& fileName) {
  if (!isNameInFolder(fileName)) return std::nullopt;
  return readFile(applicationFolder() + "\\spam\\" + fileName);
}

// The server's own spelling of the unique-id that a page names, letter case ignored; nullopt when it has none
// such.
std::optional<std::string> findUidl(const UidlList& list, std::string_view wanted) {
  std::optional<std::string> found;
  for (std::int32_t i = 0; i < list.getCount(); ++i) {
    const std::string& uidl = *list.getItem(i);
    if (uidl == wanted && !uidl.empty()) return uidl;
    if (!found && !uidl.empty() && equalsNoCase(uidl, wanted)) found = uidl;
  }
  return found;
}

// The checked boxes of a posted form: "D3=1&R5=1&...&END". What stands in their rows is taken at once, since
// a page that is built while the first rows are worked through would put other messages under the same
// numbers. Only names that are a prefix and plain digits count: another field must never be taken for a row.
// The last page that was built owns the row tables; a box of another one, in another window of the browser
// say, has a stamp that tells so.
std::vector<CheckedRow> checkedRows(std::string_view rest) {
  std::vector<CheckedRow> rows;
  const std::size_t end = findNoCase(rest, "&END");
  if (end == std::string_view::npos || end == 0) return rows;
  rest = rest.substr(0, end);
  while (!rest.empty()) {
    const std::string_view pair = rest.substr(0, rest.find('&'));
    rest.remove_prefix(std::min(rest.size(), pair.size() + 1));

    const bool isDelete = pair.starts_with(settings.deletePrefix);
    const bool isRestore = !isDelete && pair.starts_with(settings.restorePrefix);
    const std::size_t equals = pair.find('=');
    if ((!isDelete && !isRestore) || equals == std::string_view::npos) continue;
    const std::size_t prefix = isDelete ? settings.deletePrefix.size() : settings.restorePrefix.size();
    const std::string_view digits = pair.substr(prefix, equals - prefix);
    if (!isDigits(digits)) continue;
    const double number = val(digits);
    if (number > kLastRow) continue;
    const auto row = static_cast<std::int32_t>(number);
    const auto index = static_cast<std::size_t>(row);
    const std::string& key = form1.rowKey[index];
    const std::string_view value = pair.substr(equals + 1);
    const bool stale = value.starts_with('k') && value != rowStamp(key);
    rows.push_back({isRestore, row, key, form1.rowSender[index], stale});
  }
  return rows;
}

// A row with both boxes checked is restored before it is deleted, in whatever order they were posted.
void putRestoresFirst(std::vector<CheckedRow>& rows) {
  for (std::size_t i = 0; i < rows.size(); ++i) {
    if (rows[i].restore) continue;
    const auto later =
        std::find_if(rows.begin() + static_cast<std::ptrdiff_t>(i), rows.end(),
                     [&](const CheckedRow& one) { return one.restore && one.row == rows[i].row; });
    if (later != rows.end()) std::swap(rows[i], *later);
  }
}

// False when it has not been deleted, here and below; `why` says more than the log does.
bool deleteFromInbox(const CheckedRow& row, std::string& why) {
  LogWindowAdd("Delete mail from " + row.sender);
  // A task that began during the yield may have taken the component away; then nothing is deleted.
  if (!currentMail) {
    why = "something else has used the mailbox meanwhile. Try again.";
    return false;
  }
  const bool deleted = currentMail->popDeleteMessage(row.key);
  if (!deleted) why = failureText(currentMail->failure());
  return deleted;
}

bool deleteFromSpamBox(const CheckedRow& row) {
  if (!isNameInFolder(row.key) || !fileExists(spamPath(row.key))) {
    LogWindowAdd("Problem deleting spam file " + row.key + ".txt");
    return false;
  }
  LogWindowAdd("Delete spam from " + row.sender);
  const bool deleted = deleteSpam(row.key);
  if (deleted) restoredKeys.erase(row.key);
  if (!deleted) LogWindowAdd("Problem deleting spam file " + row.key + ".txt");
  return deleted;
}

// What became of the checked rows.
struct Tally {
  int restored = 0, notRestored = 0, deleted = 0, notDeleted = 0;
  // Of the last one that could not be; later ones that could be clear what is known of the server.
  std::string whyNotRestored, whyNotDeleted;
  std::string friends;  // what befriendSenders() said

  static std::string reason(const std::string& why) { return why.empty() ? "the event log tells why" : why; }

  void remember() const {
    if (deleted + notDeleted > 0) {
      std::string text = std::to_string(deleted) + " deleted";
      if (notDeleted > 0)
        text += ", " + std::to_string(notDeleted) + " could not be: " + reason(whyNotDeleted);
      outcomes.deletion = outcome(notDeleted == 0, text);
    }
    // Behind that, and one sentence for both: pages show what happened last.
    if (restored + notRestored > 0) {
      std::string text = std::to_string(restored) + " restored";
      if (notRestored > 0)
        text += ", " + std::to_string(notRestored) + " could not be: " + reason(whyNotRestored);
      text += friends;
      if (deleted > 0) text += ", " + std::to_string(deleted) + " deleted";
      if (notDeleted > 0)
        text += ", " + std::to_string(notDeleted) + " not deleted: " + reason(whyNotDeleted);
      outcomes.restore = outcome(notRestored + notDeleted == 0, text);
    }
  }
};

// What is sent, and who it is from.
struct RestoredText {
  std::string sender;
  std::string text;
};

// Until the first line with "UIDL:" behind its first character (a header field such as "X-UIDL:"), each
// "From:" line names the sender anew. That line is sent empty, and nothing behind it is looked at.
RestoredText restoredText(std::string_view source) {
  RestoredText restored;
  bool looking = true;
  for (const std::string& line : splitLines(source)) {
    if (looking) {
      const std::size_t uidl = line.find("UIDL:");
      if (uidl != std::string::npos && uidl > 0) {
        looking = false;
        restored.text += kCrLf;
        continue;
      }
      if (startsWithNoCase(line, "From:")) restored.sender = trim(std::string_view(line).substr(5));
    }
    restored.text += line;
    restored.text += kCrLf;
  }
  return restored;
}

void logRestore(bool sent, const std::string& sender) {
  LogWindowAdd((sent ? "Restore msg from " : "Problem restoring msg from ") + sender + " to InBox");
}

bool restoreRow(const CheckedRow& row, std::string& why) {
  if (!isNameInFolder(row.key)) {
    why.clear();
    logRestore(false, row.sender);
    return false;
  }
  const bool restored = restoreSpam(spamPath(row.key));
  if (restored) {
    restoredKeys.insert(row.key);
  } else {
    why = failureText(lastMailFailures.smtp);
  }
  return restored;
}

// The senders as the messages have them: a row's has lost its quotes.
std::vector<std::string> restoredSenders(const std::vector<CheckedRow>& rows) {
  std::vector<std::string> senders;
  for (const CheckedRow& row : rows) {
    if (!row.restore || row.stale || !isNameInFolder(row.key)) continue;
    const auto message = MailComponent::loadMessageFileHeader(spamPath(row.key));
    if (message) senders.push_back(message->getFromDisplay());
  }
  return senders;
}

void workThrough(std::vector<CheckedRow> rows, bool inbox, bool befriend) {
  Activity activity(Task::restoreAndDelete);
  Tally tally;

  // 1. The Inbox is on the server.
  if (inbox) {
    MailComponent& component = newPopComponent();
    component.setSmtpServer(settings.SMTP_SERVER);
    if (!component.popConnect()) {
      outcomes.failure = outcome(false, failureText(lastMailFailures.pop));
      outcomes.deletion = outcomes.failure;
      beep();
      logFailure("**Cannot log onto POP3 server!", lastMailFailures.pop);
      currentMail.reset();
      return;
    }
  }

  // 2. Friends first: a filter run that begins in between must not catch their messages again.
  if (befriend) tally.friends = befriendSenders(restoredSenders(rows));

  // 3. Row by row. A message that was to be restored and could not be is not deleted behind that.
  putRestoresFirst(rows);
  std::vector<std::int32_t> notRestored;
  for (std::size_t i = 0; i < rows.size(); ++i) {
    const CheckedRow& row = rows[i];
    activity.step(static_cast<int>(i), static_cast<int>(rows.size()));
    doEvents();
    if (row.stale) {
      LogWindowAdd("**Not " + std::string(row.restore ? "restored" : "deleted") + ", since row " +
                   std::to_string(row.row) + " holds another message now");
      ++(row.restore ? tally.notRestored : tally.notDeleted);
      if (row.restore) notRestored.push_back(row.row);
    } else if (row.restore) {
      const bool restored = restoreRow(row, tally.whyNotRestored);
      ++(restored ? tally.restored : tally.notRestored);
      if (!restored) notRestored.push_back(row.row);
    } else if (std::find(notRestored.begin(), notRestored.end(), row.row) != notRestored.end()) {
      LogWindowAdd("**Not deleted, since it could not be restored: " + row.key + ".txt");
      ++tally.notDeleted;
    } else if (inbox) {
      ++(deleteFromInbox(row, tally.whyNotDeleted) ? tally.deleted : tally.notDeleted);
    } else {
      ++(deleteFromSpamBox(row) ? tally.deleted : tally.notDeleted);
    }
  }

  // 4. The deletions take effect when the session ends.
  if (inbox) currentMail.reset();
  tally.remember();
}

}  // namespace

std::unique_ptr<MailMessage> messageOnServer(const std::string& uidl, Named named,
                                             std::string_view& problem) {
  // 1. Log on.
  const Activity activity(Task::messageFetch);
  if (!newPopComponent().popConnect()) {
    outcomes.failure = outcome(false, failureText(lastMailFailures.pop));
    beep();
    logFailure("**Cannot log onto POP3 server.", lastMailFailures.pop);
    currentMail.reset();
    problem = kCannotLogOn;
    return nullptr;
  }

  // 2. Look for the message.
  const std::unique_ptr<UidlList> list = currentMail->popGetUidls();
  std::optional<std::string> found;
  if (list) found = findUidl(*list, uidl);
  if (list && !found && named == Named::asSent) found = findUidl(*list, percentDecode(uidl));

  // 3. Fetch it.
  std::unique_ptr<MailMessage> message = found ? currentMail->popGetMessage(*found) : nullptr;
  if (!message) {
    beep();
    LogWindowAdd(std::string("**").append(kNoSuchMessage));
    problem = kNoSuchMessage;
  }
  currentMail.reset();  // behind the log line, which does not wait for the server's good-bye
  return message;
}

std::string showMessage(const std::string& uidl, Named named) {
  std::string_view problem;
  const std::unique_ptr<MailMessage> message = messageOnServer(uidl, named, problem);
  if (!message) return messagePage(problem);
  if (message->hasHtmlBody()) return message->getHtmlBody();
  std::string text = message->hasPlainBody() ? message->getPlainBody() : message->getBodyText(0);
  return textToHtml(text);
}

std::string showSpam(const std::string& fileName, Named named) {
  std::optional<std::string> source = readSpamFile(fileName);
  if (!source && named == Named::asSent) source = readSpamFile(percentDecode(fileName));
  std::string text;
  for (const std::string& line : splitLines(source.value_or(""))) text.append(line).append(kCrLf);
  return textToHtml(text);
}

void deleteChecked(std::string_view box) {
  // 1. The checked boxes stand behind the button that was pressed.
  const std::string_view request = form1.requestText;
  std::size_t button = findNoCase(request, "SUBMIT3=DELETE&");
  if (button == std::string_view::npos) button = findNoCase(request, "SUBMIT3=RESTORE-DELETE&");
  if (button == std::string_view::npos) return;
  const bool inbox = box == "INBOX";
  const bool befriend =
      form1.requestByGateway && !inbox && findNoCase(request, "befriend=1") != std::string_view::npos;
  workThrough(checkedRows(request.substr(request.find('&', button) + 1)), inbox, befriend);
}

void actOnMessage(std::string_view box, const std::string& key, const std::string& sender, MessageAct act) {
  workThrough({{act != MessageAct::remove, 0, key, sender, false}}, box == "INBOX",
              act == MessageAct::restoreAndBefriend);
}

bool wasRestored(std::string_view key) {
  return restoredKeys.contains(key);
}

bool isSpamKey(std::string_view key) {
  return isNameInFolder(key);
}

bool restoreSpam(const std::string& path) {
  // 1. and 2. Connect, and log on where there is a user.
  currentMail = std::make_unique<MailComponent>();
  currentMail->setSmtpServer(settings.SMTP_SERVER);
  if (!currentMail->smtpConnect()) {
    beep();
    logFailure("**Cannot connect to SMTP server!", lastMailFailures.smtp);
    currentMail.reset();
    return false;
  }
  if (!settings.SMTP_USER.empty()) {
    currentMail->setSmtpAuthMethod("LOGIN");
    currentMail->setSmtpUser(settings.SMTP_USER);
    currentMail->setSmtpPassword(settings.SMTP_PASSWORD);
    if (!currentMail->smtpLogin()) {
      beep();
      logFailure("**Cannot log onto SMTP server!", lastMailFailures.smtp);
      currentMail.reset();
      return false;
    }
  }

  // 3. and 4. Read and send. A file that cannot be read is not sent as an empty message.
  const std::optional<std::string> source = readFile(path);
  const RestoredText restored = restoredText(source.value_or(""));
  const bool sent =
      source && currentMail->smtpSendRaw(restored.sender, settings.EMAIL_ADDRESS, restored.text) == 1;
  logRestore(sent, restored.sender);
  currentMail.reset();  // behind the log line, which does not wait for the server's good-bye
  return sent;
}

}  // namespace vornelle
