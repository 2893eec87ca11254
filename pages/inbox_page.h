// The Inbox page: one screenful of the Inbox listing as rows of data\inbox.htm.
#pragma once

#include <cstdint>
#include <string>

namespace vornelle {

// The page that starts at the given row; -1 makes the listing anew first and starts at row 0. On return
// `first` is the row that the page starts at. Lets pending events be served once for each row.
[[nodiscard]] std::string pageInbox(std::int16_t& first);

}  // namespace vornelle
