// A message is deleted only after its whole text has been read from the server and written to the disk in
// this run; whatever else happens, it stays in the mailbox and the next run meets it again.
#include "mail/filter_run.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/numbers.h"
#include "base/text.h"
#include "core/activity.h"
#include "core/event_log.h"
#include "core/form1.h"
#include "core/settings.h"
#include "mail/filter_lists.h"
#include "mail/list_matcher.h"
#include "mail/mail_component.h"
#include "mail/spambox_store.h"
#include "platform/events.h"
#include "platform/modPopup.h"
#include "platform/shell.h"
#include "platform/wait_cursor.h"

namespace vornelle {
namespace {

class FilterList {
 public:
  explicit FilterList(std::string_view name) : FilterList(listForFilter(name)) {}

  [[nodiscard]] bool readable() const { return readable_; }
  [[nodiscard]] bool matches(std::string_view text) const { return matcher_.matches(text); }

 private:
  explicit FilterList(const std::optional<std::vector<std::string>>& entries)
      : readable_(entries.has_value()), matcher_(entries.value_or(std::vector<std::string>{})) {}

  bool readable_;
  ListMatcher matcher_;
};

// Loaded afresh for each run.
struct FilterLists {
  FilterList friends{kFriendList};
  FilterList subjects{kSubjectList};
  FilterList enemies{kEnemyList};

  [[nodiscard]] bool isSpam(const MailMessage& message) const {
    const std::string& sender = message.getFromAddress();
    // Mail is not judged by a list that is there and cannot be read: it could be a friend's.
    bool isFriend = !friends.readable() || friends.matches(sender);
    const bool subjectOk = !subjects.readable() || subjects.matches(message.getSubject());
    // The divisor is 1048 and stays so: sizes on the pages must agree with the filter's limit.
    const auto kilobytes = static_cast<float>(message.getSize() / 1048.0);
    if (kilobytes > static_cast<float>(settings.MAX_SPAM_SIZE)) isFriend = true;
    const bool enemy = enemies.matches(sender);
    return enemy || !(isFriend || subjectOk);
  }
};

// The messages that will most likely be caught. Each is judged again in its turn.
std::vector<std::string_view> likelySpam(const HeaderList& list, const FilterLists& lists) {
  std::vector<std::string_view> uidls;
  for (const MailMessage& message : list.messages) {
    if (!message.getUidl().empty() && lists.isSpam(message)) uidls.emplace_back(message.getUidl());
  }
  return uidls;
}

// The messages that have been saved and are not deleted yet. Where they are fetched ahead many are flushed to
// the disk at once, which takes hardly longer than one; elsewhere each is by itself, and there is nothing
// here.
class SavedMessages {
 public:
  explicit SavedMessages(bool together) : together_(together) {}

  [[nodiscard]] bool save(const std::string& key, std::string text) {
    if (!together_) return saveSpam(key, std::move(text));
    bytes_ += text.size();
    if (!saveSpamUnflushed(key, std::move(text))) return false;
    keys_.push_back(key);
    uidls_.emplace_back();
    return true;
  }

  // The message that has been saved last.
  void remove(const std::string& uidl) {
    if (together_) {
      uidls_.back() = uidl;
    } else if (currentMail) {
      currentMail->popDeleteMessage(uidl);
    }
  }

  void settleIfMany() {
    if (keys_.size() >= kMostFiles || bytes_ >= kMostBytes) settle();
  }

  // Only what is on the disk is deleted. The component may be another task's by now, or have gone. Deleting
  // goes by the unique-id, and the message is safe, so that any open session will do.
  void settle() {
    const std::vector<bool> safe = flushSpam(std::exchange(keys_, {}));
    const std::vector<std::string> uidls = std::exchange(uidls_, {});
    bytes_ = 0;
    for (std::size_t i = 0; i < uidls.size(); ++i) {
      if (safe[i] && !uidls[i].empty() && currentMail) currentMail->popDeleteMessage(uidls[i]);
    }
  }

 private:
  static constexpr std::size_t kMostFiles = 64;
  static constexpr std::size_t kMostBytes = 1U << 20;

  bool together_;
  std::vector<std::string> keys_;   // of the files
  std::vector<std::string> uidls_;  // beside them; empty for a message that stays
  std::size_t bytes_ = 0;
};

// Messages that were caught and could not be fetched: they stay in the mailbox, unless something else has
// used it meanwhile, a filter run perhaps, which has caught them.
struct NotFetched {
  int count = 0;
  bool isOurs = true;  // the mailbox, up to the last one
  std::string why;     // of the last one

  void add(const MailComponent* component) {
    ++count;
    isOurs = component != nullptr;
    why = isOurs ? failureText(component->failure()) : "something else has used the mailbox meanwhile.";
  }
  [[nodiscard]] std::string text() const {
    if (count == 0) return "";
    const std::string_view stay = !isOurs      ? ""
                                  : count == 1 ? " and stays in the mailbox"
                                               : " and stay in the mailbox";
    return " " + std::to_string(count) + (count == 1 ? " message" : " messages") + " could not be fetched" +
           std::string(stay) + ": " + why;
  }
};

// True when the message counts as spam that has been saved.
bool catchSpam(const std::string& uidl, SavedMessages& saved, NotFetched& notFetched) {
  // A message that cannot be named can be neither fetched nor told from others: it is kept.
  if (uidl.empty()) return false;
  const std::string key = spamKey(uidl);
  std::unique_ptr<MailMessage> message;
  if (currentMail) message = currentMail->popGetMessage(uidl);
  const std::string sender = message ? message->getFromAddress() : "";
  const bool retrieved = message != nullptr;
  if (!retrieved) notFetched.add(currentMail.get());
  if (!(retrieved ? saved.save(key, std::move(message->rawText)) : saveMissingSpam(key))) return false;
  message.reset();

  LogWindowAdd("Removing spam from " + (trim(sender).empty() ? "<no name>" : sender));
  if (form1.ckTestMode.checked()) {
    LogWindowAdd("**TEST MODE: Msg copied to SpamBox, not removed from InBox");
  } else if (retrieved) {
    saved.remove(uidl);
  }
  saved.settleIfMany();
  return true;
}

std::string resultText(std::int64_t kept, int spamFiles) {
  return formatSigned(kept) + " msgs. " + formatSigned(spamFiles) + " spam.";
}

}  // namespace

void mailFilter() {
  if (listLength(kFriendList) < kShortestFriendList) {
    outcomes.filterRun = outcome(false, "You need to set up your FriendList first!");
    return LogWindowAdd("You need to set up your FriendList first!");
  }
  form1.minutesSinceCheck = 0;
  const WaitCursor hourglass;
  Activity activity(Task::filterRun);

  if (!newPopComponent().popConnect()) {
    outcomes.failure = outcome(false, failureText(lastMailFailures.pop));
    outcomes.filterRun = outcomes.failure;
    beep();
    return logFailure(
        "**Cannot log onto POP3 server. Will try again in " + std::to_string(settings.CHECK_MIN) + " mins.",
        lastMailFailures.pop);
  }
  std::unique_ptr<HeaderList> list = currentMail->popGetHeaderList(1);
  const std::int32_t count = list ? list->getCount() : 0;
  const bool listed = list != nullptr;
  if (!listed) outcomes.failure = outcome(false, failureText(lastMailFailures.pop));

  std::int16_t spam = 0;
  NotFetched notFetched;
  {
    const FilterLists lists;
    SavedMessages saved(list && currentMail && currentMail->popExpect(likelySpam(*list, lists)));
    for (std::int32_t i = 0; i < count; ++i) {
      activity.step(i, count);
      doEvents();
      const MailMessage* message = list->getItem(i);
      if (!message->headerPresent || !lists.isSpam(*message)) continue;
      const std::string uidl = message->getUidl();
      // A 16-bit counter: it stays at its highest value.
      if (catchSpam(uidl, saved, notFetched)) spam = add16(spam, 1).value_or(spam);
    }
    saved.settle();
  }
  list.reset();
  currentMail.reset();  // the session ends here, and with it the deletions take effect

  const std::string result = resultText(std::int64_t{count} - spam, countSpam());
  static_cast<void>(notifyIconModifyTip(" Vornelle - " + result));  // there may be no icon
  outcomes.filterRun =
      outcome(listed && notFetched.count == 0, "Mail filtered: " + result + notFetched.text());
  LogWindowAdd("Mail filtered: " + result);
}

}  // namespace vornelle
