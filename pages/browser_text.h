// Text that strangers or the user have written, as it goes into a page that is being built.
//
// Over the plain wire it stands there as it is. In a browser nothing in it may be markup: a sender, a
// subject, a key, a list entry or a search text could otherwise bring a link, hide a row, or take a box that
// is not its own. So it is made into text where the page is built, for a request that came through the
// gateway.
//
// Characters outside Windows-1252 are held as decimal character references ("&#1087;", base/characters.h):
// those stay, and the browser shows the letter.
#pragma once

#include <string>
#include <string_view>

namespace vornelle {

// As it is, or in a browser's page as browserText().
[[nodiscard]] std::string pageText(std::string_view text);

// For an element or a quoted attribute: "<", ">", both quotes and every "&" that begins no character become
// references.
[[nodiscard]] std::string browserText(std::string_view text);

}  // namespace vornelle
