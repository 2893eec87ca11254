// What the Inbox and the SpamBox pages share: the building of the page, which rows to show, the header text,
// and the cells of a row. The rows of the two pages differ in small ways that are kept: see their builders.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "mail/mail_failure.h"
#include "pages/known_senders.h"

namespace vornelle {

// The rows of one page: first to last, both counted from 0; last is below first when there is none to show.
struct RowRange {
  std::int16_t first = 0;
  std::int16_t last = -1;
  std::int16_t total = 0;
};

// One of the two pages: what it is made of.
struct RowPage {
  std::string_view title;         // "Inbox"
  std::string_view request;       // the name under which the page is asked for, "displayinbox.htm"
  std::string_view templateName;  // "inbox.htm"
  std::string_view rowsMarker;    // "<!--SSINBOX-->"
  std::string_view emptyRow;      // stands in place of rows where there are none
  bool (*makeListing)();          // false: failed, the listing is as it is
  std::int16_t (*count)();        // of the listing
  std::string (*row)(std::int16_t index, const KnownSenders* known);  // null over the plain wire
  // Why making the listing has failed; null where no server has a part in it.
  const MailFailure* failure = nullptr;
};

// The page that starts at the given row; -1 makes the listing anew first and starts at row 0. On return
// `first` is the row that the page starts at.
[[nodiscard]] std::string buildRowPage(const RowPage& page, std::int16_t& first);

// A first row beyond the end shows the last message alone, one below 0 starts at 0.
[[nodiscard]] RowRange rowsToShow(std::int16_t first, std::int16_t total);

// "<b>Inbox</b>", Prev and Next (links where there is something to go to) and the count of the rows shown; in
// a browser First and Last besides. `page` is the name under which the page is asked for, "displayinbox.htm".
[[nodiscard]] std::string listHeader(std::string_view title, std::string_view page, const RowRange& range);

// The sender without apostrophes and double quotes: what the row table keeps and the add-to-list field gets.
[[nodiscard]] std::string cleanSender(std::string_view from);

// The cells. Over the plain wire strangers' words stand in them as they are. Through the gateway these are
// made into text; a cell's class names its column, data attributes hold what the page's script needs, and a
// text that is cut has the whole of it as its title.

// The sender's cell: a link that puts the clean sender into the page's add-to-list field and ticks the box of
// that name ("R3"; "" for none); "<none>" where the clean sender is empty. What is shown is cut to 25
// characters, over the plain wire after escaping, so that an entity may be split there. Through the gateway
// the link has besides the bare address, and where `known` is given the list that the sender is on.
[[nodiscard]] std::string senderCell(std::string_view from, std::string_view tickedBox,
                                     const KnownSenders* known = nullptr);

// A text of the column with that name; behind it, through the gateway, the word that marks the row, if any:
// "restored".
[[nodiscard]] std::string textCell(std::string_view column, std::string_view text,
                                   std::string_view mark = "");

// The subject, cut to 35 characters, linked to `address` unless the message is too large for a link. Over the
// plain wire it is not escaped.
[[nodiscard]] std::string subjectCell(std::string_view subject, std::string_view address,
                                      std::string_view sizeText);

// Where a row's link leads. `plain` is what it is over the plain wire; in a browser it is the preview.
[[nodiscard]] std::string messageAddress(std::string_view plain, std::string_view box, std::string_view key);

// "preview.htm?b=spam&k=KEY" or b=inbox, to which the session is to be added.
[[nodiscard]] std::string previewAddress(std::string_view box, std::string_view key);

[[nodiscard]] std::string sizeCell(std::string_view sizeText);

// A cell for a row's box, up to the box: "<td align='center' style='background-color:red'>". `column` is
// "delete" or "restore".
[[nodiscard]] std::string boxCellStart(std::string_view column);

// The size for display of a byte count in decimal.
[[nodiscard]] std::string sizeTextOf(std::string_view bytes);

// "<input name='D3' type='checkbox' value='1'>"; in a browser the value is the stamp of the row's message.
[[nodiscard]] std::string rowBox(std::string_view prefix, int row, std::string_view key);

// A short stand-in for a message's key, "k" and 16 hexadecimal digits: by it a box that is posted tells
// whether its number still means the message that was ticked.
[[nodiscard]] std::string rowStamp(std::string_view key);

}  // namespace vornelle
