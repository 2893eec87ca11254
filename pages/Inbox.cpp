#include "pages/Inbox.h"

#include "base/module_state.h"
#include "base/numbers.h"
#include "core/activity.h"
#include "core/form1.h"
#include "core/settings.h"
#include "mail/mail_component.h"
#include "pages/message_listing.h"
#include "pages/message_rows.h"
#include "platform/clock.h"
#include "platform/events.h"
#include "platform/shell.h"

namespace vornelle {

// ---- the listing ----

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

// ---- the page ----

namespace {

constexpr std::string_view kEmptyInboxRow =
    "<tr class='tableBGcolor'>\r\n"
    "    <td valign='top'>none</td>\r\n"
    "    <td>none</td>\r\n"
    "    <td>none</td>\r\n"
    "    <td align='right'>none</td>\r\n"
    "    <td align='center' style='background-color:red'>&nbsp;</td>\r\n"
    "  </tr>\r\n";

// One row; it also enters the row tables, by which the page's forms find the message again.
std::string inboxRow(std::int16_t i, const KnownSenders* known) {
  doEvents();
  const auto uidl = inboxUidl(i);
  if (!uidl) return "";
  const std::string from = *inboxFrom(i);
  form1.rowKey[static_cast<std::size_t>(i)] = *uidl;
  form1.rowSender[static_cast<std::size_t>(i)] = cleanSender(from);
  const std::string sizeText = sizeTextOf(*inboxSize(i));
  return "<tr class='tableBGcolor'>\r\n" + senderCell(from, "", known) + textCell("date", *inboxDate(i)) +
         subjectCell(*inboxSubject(i), messageAddress("displayemail.cgi?uidl=" + *uidl, "inbox", *uidl),
                     sizeText) +
         sizeCell(sizeText) + boxCellStart("delete") + rowBox(settings.deletePrefix, i, *uidl) +
         "\r\n    </td>\r\n" + "  </tr>\r\n";
}

}  // namespace

std::string pageInbox(std::int16_t& first) {
  constexpr RowPage kPage = {"Inbox",   "displayinbox.htm", "inbox.htm", "<!--SSINBOX-->",     kEmptyInboxRow,
                             inboxList, inboxCount,         inboxRow,    &lastMailFailures.pop};
  return buildRowPage(kPage, first);
}

}  // namespace vornelle
