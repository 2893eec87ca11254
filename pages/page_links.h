// The ways through the pages of a long list, for browsers: first, last, and a jump to any page.
#pragma once

#include <string>
#include <string_view>

#include "pages/message_rows.h"

namespace vornelle {

// The row that the page with that row starts at, when pages are counted from the first row; 0 for a row below
// 0.
[[nodiscard]] int pageStartOf(int row);

// A form with all pages to choose from, and in data attributes what the page's script needs to walk them in
// the other direction: the first row shown, the rows of a page and of the list. "" where one page holds all,
// and over the plain wire. Of very many pages only every second, third... is offered.
[[nodiscard]] std::string jumpForm(std::string_view page, const RowRange& range);

}  // namespace vornelle
