#include "pages/inbox_list.h"

#include "base/module_state.h"
#include "base/numbers.h"
#include "core/activity.h"
#include "mail/mail_component.h"
#include "pages/message_listing.h"
#include "platform/clock.h"
#include "platform/events.h"
#include "platform/shell.h"

namespace vornelle {

namespace {

MessageListing inbox;
ListingAge age;
const ModuleState inboxState([] {
  inbox = {};
  age = {};
});

// The messages into the listing, one by one; false at the first that finds no room.
bool takeMessages(HeaderList& list, Activity& activity) {
  list.listPrepare(0);
  const auto count = toInt16(static_cast<double>(list.getCount()));
  if (!count) return false;
  inbox.count = *count;
  for (int i = 0; i < *count; i++) {
    activity.step(i, *count);
    doEvents();
    const MailMessage* message = list.getItem(i);
    if (message == nullptr || i > kLastRow) return false;
    inbox.rows[static_cast<std::size_t>(i)] = listedMessage(message->getUidl(), *message);
  }
  return true;
}

}  // namespace

bool inboxList() {
  Activity activity(Task::inboxFetch);
  age.fresh = false;
  if (!newPopComponent().popConnect()) {
    outcomes.failure = outcome(false, failureText(lastMailFailures.pop));
    beep();
    currentMail.reset();
    return false;
  }
  const std::unique_ptr<HeaderList> list = currentMail->popGetHeaderList(1);
  const bool complete = list != nullptr && takeMessages(*list, activity);
  if (!list) outcomes.failure = outcome(false, failureText(lastMailFailures.pop));
  currentMail.reset();
  if (complete) age = {true, utcNow()};
  return complete;
}

ListingAge inboxAge() {
  return age;
}

std::int16_t inboxCount() {
  return inbox.count;
}
std::optional<std::string> inboxUidl(std::int16_t index) {
  return inbox.field(index, &ListedMessage::key);
}
std::optional<std::string> inboxFrom(std::int16_t index) {
  return inbox.field(index, &ListedMessage::from);
}
std::optional<std::string> inboxDate(std::int16_t index) {
  return inbox.dateText(index);
}
std::optional<std::string> inboxSubject(std::int16_t index) {
  return inbox.field(index, &ListedMessage::subject);
}
std::optional<std::string> inboxSize(std::int16_t index) {
  return inbox.sizeText(index);
}

void inboxClear() {
  inbox = MessageListing{};
  age = ListingAge{};
}

}  // namespace vornelle
