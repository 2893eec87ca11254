#include "pages/spambox_page.h"

#include "core/event_log.h"
#include "core/form1.h"
#include "core/settings.h"
#include "pages/message_rows.h"
#include "pages/spambox_list.h"
#include "pages/template.h"
#include "platform/events.h"

namespace vornelle {

namespace {

constexpr std::string_view kEmptyRow =
    "<tr class='tableBGcolor2'>\r\n"
    "    <td valign='top'>none</td>\r\n"
    "    <td>none</td>\r\n"
    "    <td>none</td>\r\n"
    "    <td align='right'>none</td>\r\n"
    "    <td align='center' style='background-color:#3FE11F'>&nbsp;</td>\r\n"
    "    <td align='center' style='background-color:red'>&nbsp;</td>\r\n"
    "  </tr>\r\n";

// One row; it also enters the row tables, by which the page's forms find the message again.
std::string spamboxRow(std::int16_t i) {
  doEvents();
  const auto key = spamboxKey(i);
  if (!key) return "";
  const std::string from = *spamboxFrom(i);
  form1.rowKey[static_cast<std::size_t>(i)] = *key;
  form1.rowSender[static_cast<std::size_t>(i)] = cleanSender(from);
  const std::string sizeText = sizeTextOf(*spamboxSize(i));
  const std::string tickRestore = ";" + settings.restorePrefix + std::to_string(i) + ".checked=1;";
  return "<tr class='tableBGcolor2'>\r\n" + senderCell(from, tickRestore) + dateCell(*spamboxDate(i)) +
         subjectCell(*spamboxSubject(i), "displayspam.cgi?fn=" + *key + ".txt", sizeText) +
         sizeCell(sizeText) + "    <td align='center' style='background-color:#3FE11F'>" +
         rowBox(settings.restorePrefix, i) + "</td>\r\n" +
         "    <td align='center' style='background-color:red'>" + rowBox(settings.deletePrefix, i) +
         "</td>\r\n" + "  </tr>\r\n";
}

}  // namespace

std::string pageSpamBox(std::int16_t& first) {
  if (first == -1) {
    if (spamboxList()) {
      first = 0;
    } else {
      LogWindowAdd("**Cannot log onto POP3 server.");  // so worded, though no server has a part in it
    }
  }
  const RowRange range = rowsToShow(first, spamboxCount());
  first = range.first;
  std::string rows;
  if (range.total > 0) {
    for (int i = range.first; i <= range.last; i++) rows += spamboxRow(static_cast<std::int16_t>(i));
  } else {
    rows = kEmptyRow;
  }
  return fillPage(
      "spambox.htm",
      {{"<!--SSPAGEDESC-->", listHeader("SpamBox", "displayspambox.htm", range)}, {"<!--SSSPAM-->", rows}},
      {{"<!--ssDRPRELEN-->", std::to_string(settings.deletePrefix.size())},
       {"<!--ssRESTOREPRE-->", settings.restorePrefix},
       {"<!--ssDELETEPRE-->", settings.deletePrefix}});
}

}  // namespace vornelle
