#include "pages/message_rows.h"

#include <cstdio>
#include <optional>

#include "base/characters.h"
#include "base/hash.h"
#include "base/numbers.h"
#include "base/text.h"
#include "base/url_decode.h"
#include "core/event_log.h"
#include "core/form1.h"
#include "core/letter_case.h"
#include "core/settings.h"
#include "mail/mail_address.h"
#include "pages/browser_text.h"
#include "pages/modSGML.h"
#include "pages/page_links.h"
#include "pages/row_text.h"
#include "pages/template.h"

namespace vornelle {

namespace {

constexpr std::size_t kSenderLength = 25;
constexpr std::size_t kSubjectLength = 35;
constexpr std::string_view kNone = "&lt;none&gt;";

// first + change - less in 16 bits, in this order; an overflow anywhere is one.
std::optional<std::int16_t> sum16(int first, int change, int less) {
  const auto sum = add16(first, change);
  return sum ? subtract16(*sum, less) : std::nullopt;
}

constexpr std::string_view kCellEnd = "    </td>\r\n";

// "    <td valign='top'>"; a browser's page names the column besides.
std::string cellStart(std::string_view attributes, std::string_view column) {
  std::string start = "    <td" + std::string(attributes);
  if (form1.requestByGateway) start += " class='" + std::string(column) + "'";
  return start + ">";
}

std::string pageLink(std::string_view page, int first, std::string_view text) {
  return "<a href='" + std::string(page) + "?s=" + form1.sessionId + "&msg=" + std::to_string(first) +
         "'><small>" + std::string(text) + "</small></a>";
}

}  // namespace

std::string buildRowPage(const RowPage& page, std::int16_t& first) {
  if (first == -1) {
    if (page.makeListing()) {
      first = 0;
    } else {
      // The page comes all the same, from the listing as it is. The SpamBox has the same line, though no
      // server has a part in it.
      logFailure("**Cannot log onto POP3 server.", page.failure ? *page.failure : MailFailure{});
    }
  }
  const RowRange range = rowsToShow(first, page.count());
  first = range.first;
  std::string rows;
  if (range.total > 0) {
    std::optional<KnownSenders> known;
    if (form1.requestByGateway) known.emplace();
    for (int i = range.first; i <= range.last; i++) {
      rows += page.row(static_cast<std::int16_t>(i), known ? &*known : nullptr);
    }
  } else {
    rows = page.emptyRow;
  }
  const std::string header = listHeader(page.title, page.request, range);
  return fillPage(readTemplate(page.templateName),
                  {{"<!--SSPAGEDESC-->", header},
                   {"<!--SSJUMP-->", jumpForm(page.request, range)},
                   {page.rowsMarker, rows}},
                  {{"<!--ssDRPRELEN-->", std::to_string(settings.deletePrefix.size())},
                   {"<!--ssRESTOREPRE-->", settings.restorePrefix},
                   {"<!--ssDELETEPRE-->", settings.deletePrefix}});
}

RowRange rowsToShow(std::int16_t first, std::int16_t total) {
  RowRange range{first, 0, total};
  const auto lastRow = static_cast<std::int16_t>(total - 1);
  if (range.first >= 0 && range.first > lastRow) range.first = lastRow;
  if (range.first < 0) range.first = 0;
  // Where the sum does not fit, last stays 0.
  if (const auto last = sum16(range.first, settings.MESSAGES_PER_PAGE, 1)) range.last = *last;
  if (range.last > lastRow) range.last = lastRow;
  return range;
}

std::string listHeader(std::string_view title, std::string_view page, const RowRange& range) {
  std::string text = "<b>" + std::string(title) + "</b>&nbsp;&nbsp;";
  const bool inBrowser = form1.requestByGateway;
  if (inBrowser)
    text += (range.first < 1 ? "<small>First</small>" : pageLink(page, 0, "First")) + "&nbsp;|&nbsp;";
  if (range.first < 1) {
    text += "<small>Prev</small>&nbsp;|&nbsp;";
  } else if (const auto previous = subtract16(range.first, settings.MESSAGES_PER_PAGE)) {
    // Not held at 0: a start below it shows the first page, and exactly -1 asks for a fresh listing.
    text += pageLink(page, *previous, "Prev") + "&nbsp;|&nbsp;";
  }
  if (range.last >= range.total - 1) {
    text += "<small>Next</small>&nbsp;";  // only the plain form has the blank behind it
  } else if (const auto next = add16(range.first, settings.MESSAGES_PER_PAGE)) {
    text += pageLink(page, *next, "Next");
  }
  if (inBrowser) {
    const bool last = range.last >= range.total - 1;
    text += "&nbsp;|&nbsp;" +
            (last ? "<small>Last</small>" : pageLink(page, pageStartOf(range.total - 1), "Last"));
  }
  const int firstShown = range.total > 0 ? range.first + 1 : 0;
  return text + " (showing " + std::to_string(firstShown) + " - " + std::to_string(range.last + 1) + " of " +
         std::to_string(range.total) + ")";
}

std::string cleanSender(std::string_view from) {
  return replaceAll(replaceAll(from, "'", ""), "\"", "");
}

std::string senderCell(std::string_view from, std::string_view tickedBox, const KnownSenders* known) {
  const std::string clean = cleanSender(from);
  const std::string entry = toSmallLetters(clean);
  std::string cell = cellStart(" valign='top'", "from");
  if (clean.empty()) {
    cell += kNone;
  } else if (form1.requestByGateway) {
    // With its quotes, by which the filter would find it.
    cell += "<a href='#addinput' data-sender='" + browserText(toSmallLetters(from)) + "' data-address='" +
            browserText(toSmallLetters(envelopeAddress(from))) + "'";
    if (known != nullptr) cell += " data-known='" + std::string(known->listOf(from)) + "'";
    if (!tickedBox.empty()) cell += " data-tick='" + std::string(tickedBox) + "'";
    const std::string whole = replaceAll(from, "\"", "");
    const std::string_view shown = firstCharacters(whole, kSenderLength);
    cell += wholeTextAttribute(whole, shown) + ">" + browserText(shown) + "</a>";
    const std::string real = addressBehindName(from);
    if (!real.empty()) cell += " <small class='real'>from <bdi>" + browserText(real) + "</bdi></small>";
  } else {
    std::string shown = replaceAll(from, "\"", "");
    textToHtml(shown);
    const std::string tick = tickedBox.empty() ? "" : ";" + std::string(tickedBox) + ".checked=1;";
    cell += "<a href='#addinput' onClick='form1.addtolist.value=\"" + entry + "\"" + tick + "'>" +
            std::string(firstCharacters(shown, kSenderLength)) + "</a>";
  }
  return cell.append(kCellEnd);
}

std::string textCell(std::string_view column, std::string_view text, std::string_view mark) {
  std::string cell = cellStart("", column) + pageText(text);
  if (form1.requestByGateway && !mark.empty())
    cell += " <small class='mark'>" + std::string(mark) + "</small>";
  return cell.append(kCellEnd);
}

std::string subjectCell(std::string_view subject, std::string_view address, std::string_view sizeText) {
  const std::string_view shown = firstCharacters(subject, kSubjectLength);
  std::string text = pageText(shown);
  const std::string whole = form1.requestByGateway ? wholeTextAttribute(subject, shown) : "";
  // A link needs a name to be followed by.
  if (text.empty() || (form1.requestByGateway && trim(text).empty())) text = kNone;
  const std::string start = cellStart("", "subject");
  if (settings.MAX_LINK_SIZE_ON && val(sizeText) > settings.MAX_LINK_SIZE) {
    if (!whole.empty()) text = "<span tabindex='0'" + whole + ">" + text + "</span>";
    return start + text + "\r\n    </td>\r\n";
  }
  return start + "<a href='" + pageText(address) + "&s=" + form1.sessionId + "' " +
         (settings.NEW_WINDOW ? "target='_blank'" : "") + whole + ">" + text + "</a>\r\n    </td>\r\n";
}

std::string messageAddress(std::string_view plain, std::string_view box, std::string_view key) {
  return form1.requestByGateway ? previewAddress(box, key) : std::string(plain);
}

std::string previewAddress(std::string_view box, std::string_view key) {
  return "preview.htm?b=" + std::string(box) + "&k=" + formEncode(key);
}

std::string sizeCell(std::string_view sizeText) {
  return cellStart(" align='right'", "size").append(sizeText).append(kCellEnd);
}

std::string boxCellStart(std::string_view column) {
  const std::string_view colour = column == "restore" ? "#3FE11F" : "red";
  return cellStart(" align='center' style='background-color:" + std::string(colour) + "'", column);
}

std::string sizeTextOf(std::string_view bytes) {
  return bytes2KB(val(bytes));
}

std::string rowBox(std::string_view prefix, int row, std::string_view key) {
  const std::string value = form1.requestByGateway ? rowStamp(key) : "1";
  return "<input name='" + std::string(prefix) + std::to_string(row) + "' type='checkbox' value='" + value +
         "'>";
}

std::string rowStamp(std::string_view key) {
  char text[24];
  std::snprintf(text, sizeof text, "k%016llx", static_cast<unsigned long long>(fnv1a(key)));
  return text;
}

}  // namespace vornelle
