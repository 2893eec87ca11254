#include "pages/spambox_page.h"

#include "core/form1.h"
#include "core/settings.h"
#include "pages/message_rows.h"
#include "pages/spambox_list.h"
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
  const std::string restoreBox = settings.restorePrefix + std::to_string(i);
  return "<tr class='tableBGcolor2'>\r\n" + senderCell(from, restoreBox) + dateCell(*spamboxDate(i)) +
         subjectCell(*spamboxSubject(i), "displayspam.cgi?fn=" + keyInAddress(*key) + ".txt", sizeText) +
         sizeCell(sizeText) + boxCellStart("restore") + rowBox(settings.restorePrefix, i) + "</td>\r\n" +
         boxCellStart("delete") + rowBox(settings.deletePrefix, i) + "</td>\r\n" + "  </tr>\r\n";
}

}  // namespace

std::string pageSpamBox(std::int16_t& first) {
  constexpr RowPage kPage = {"SpamBox", "displayspambox.htm", "spambox.htm", "<!--SSSPAM-->",
                             kEmptyRow, spamboxList,          spamboxCount,  spamboxRow};
  return buildRowPage(kPage, first);
}

}  // namespace vornelle
