#include "pages/inbox_page.h"

#include "core/form1.h"
#include "core/settings.h"
#include "pages/inbox_list.h"
#include "pages/message_rows.h"
#include "platform/events.h"

namespace vornelle {

namespace {

constexpr std::string_view kEmptyRow =
    "<tr class='tableBGcolor'>\r\n"
    "    <td valign='top'>none</td>\r\n"
    "    <td>none</td>\r\n"
    "    <td>none</td>\r\n"
    "    <td align='right'>none</td>\r\n"
    "    <td align='center' style='background-color:red'>&nbsp;</td>\r\n"
    "  </tr>\r\n";

// One row; it also enters the row tables, by which the page's forms find the message again.
std::string inboxRow(std::int16_t i) {
  doEvents();
  const auto uidl = inboxUidl(i);
  if (!uidl) return "";
  const std::string from = *inboxFrom(i);
  form1.rowKey[static_cast<std::size_t>(i)] = *uidl;
  form1.rowSender[static_cast<std::size_t>(i)] = cleanSender(from);
  const std::string sizeText = sizeTextOf(*inboxSize(i));
  return "<tr class='tableBGcolor'>\r\n" + senderCell(from, "") + dateCell(*inboxDate(i)) +
         subjectCell(*inboxSubject(i), "displayemail.cgi?uidl=" + keyInAddress(*uidl), sizeText) + sizeCell(sizeText) +
         boxCellStart("delete") + rowBox(settings.deletePrefix, i) + "\r\n    </td>\r\n" + "  </tr>\r\n";
}

}  // namespace

std::string pageInbox(std::int16_t& first) {
  constexpr RowPage kPage = {"Inbox",   "displayinbox.htm", "inbox.htm", "<!--SSINBOX-->",     kEmptyRow,
                             inboxList, inboxCount,         inboxRow,    &lastMailFailures.pop};
  return buildRowPage(kPage, first);
}

}  // namespace vornelle
