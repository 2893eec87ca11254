#include "pages/Spambox.h"

#include <algorithm>
#include <memory>
#include <utility>
#include <vector>

#include "base/module_state.h"
#include "core/activity.h"
#include "core/form1.h"
#include "core/settings.h"
#include "mail/mail_component.h"
#include "mail/spambox_store.h"
#include "pages/message_actions.h"
#include "pages/message_listing.h"
#include "pages/message_rows.h"
#include "pages/sort_parallel.h"
#include "platform/events.h"

namespace vornelle {

// ---- the listing ----

namespace {

MessageListing spambox;
const ModuleState spamboxState([] { spambox = {}; });

// The keys of the saved messages, the most recently modified first; nullopt when there are more than a
// listing holds.
std::optional<std::vector<std::string>> keysNewestFirst() {
  const std::vector<SpamFile> files = listSpam();
  if (files.size() > kLastRow + 1) return std::nullopt;
  std::vector<std::int64_t> times;
  std::vector<std::string> keys;
  for (const SpamFile& file : files) {
    times.push_back(file.modifiedMilliseconds);
    keys.push_back(file.key);
  }
  sortParallel(times, keys);
  std::reverse(keys.begin(), keys.end());
  return keys;
}

}  // namespace

bool spamboxList() {
  Activity activity(Task::spamBoxScan);
  auto keys = keysNewestFirst();
  if (!keys) return false;
  spambox.count = static_cast<std::int16_t>(keys->size());
  currentMail = std::make_unique<MailComponent>();
  for (std::size_t i = 0; i < keys->size(); i++) {
    activity.step(static_cast<int>(i), static_cast<int>(keys->size()));
    doEvents();
    std::string& key = (*keys)[i];
    // A file that is gone meanwhile, or cannot be read, gives a row without a sender.
    std::unique_ptr<MailMessage> message = MailComponent::loadMessageFileHeader(spamPath(key));
    if (message == nullptr) message = std::make_unique<MailMessage>();
    doEvents();
    // Key and texts go in together: a page that is built in the middle of a scan must not show one message
    // and act on another.
    spambox.rows[i] = listedMessage(std::move(key), *message);
  }
  currentMail.reset();
  return true;
}

std::int16_t spamboxCount() {
  return spambox.count;
}
std::optional<std::string> spamboxKey(std::int16_t index) {
  return spambox.field(index, &ListedMessage::key);
}
std::optional<std::string> spamboxFrom(std::int16_t index) {
  return spambox.field(index, &ListedMessage::from);
}
std::optional<std::string> spamboxDate(std::int16_t index) {
  return spambox.dateText(index);
}
std::optional<std::string> spamboxSubject(std::int16_t index) {
  return spambox.field(index, &ListedMessage::subject);
}
std::optional<std::string> spamboxSize(std::int16_t index) {
  return spambox.sizeText(index);
}

// ---- the page ----

namespace {

constexpr std::string_view kEmptySpamBoxRow =
    "<tr class='tableBGcolor2'>\r\n"
    "    <td valign='top'>none</td>\r\n"
    "    <td>none</td>\r\n"
    "    <td>none</td>\r\n"
    "    <td align='right'>none</td>\r\n"
    "    <td align='center' style='background-color:#3FE11F'>&nbsp;</td>\r\n"
    "    <td align='center' style='background-color:red'>&nbsp;</td>\r\n"
    "  </tr>\r\n";

// One row; it also enters the row tables, by which the page's forms find the message again.
std::string spamboxRow(std::int16_t i, const KnownSenders* known) {
  doEvents();
  const auto key = spamboxKey(i);
  if (!key) return "";
  const std::string from = *spamboxFrom(i);
  form1.rowKey[static_cast<std::size_t>(i)] = *key;
  form1.rowSender[static_cast<std::size_t>(i)] = cleanSender(from);
  const std::string sizeText = sizeTextOf(*spamboxSize(i));
  const std::string restoreBox = settings.restorePrefix + std::to_string(i);
  return "<tr class='tableBGcolor2'>\r\n" + senderCell(from, restoreBox, known) +
         textCell("date", *spamboxDate(i), wasRestored(*key) ? "restored" : "") +
         subjectCell(*spamboxSubject(i), messageAddress("displayspam.cgi?fn=" + *key + ".txt", "spam", *key),
                     sizeText) +
         sizeCell(sizeText) + boxCellStart("restore") + rowBox(settings.restorePrefix, i, *key) +
         "</td>\r\n" + boxCellStart("delete") + rowBox(settings.deletePrefix, i, *key) + "</td>\r\n" +
         "  </tr>\r\n";
}

}  // namespace

std::string pageSpamBox(std::int16_t& first) {
  constexpr RowPage kPage = {"SpamBox",        "displayspambox.htm", "spambox.htm", "<!--SSSPAM-->",
                             kEmptySpamBoxRow, spamboxList,          spamboxCount,  spamboxRow};
  return buildRowPage(kPage, first);
}

}  // namespace vornelle
