// The actions that change the lists: what they take from the request, and what they remember of the result.
#pragma once

#include <string_view>

namespace vornelle {

// Takes "addtolist" (one entry, in its form encoding) and "type". Where our own page also posts "addentries",
// those are added in its place: texts percent-encoded, joined by "%0A".
void addToListAction();

// Adds "addtolist" to that list: the buttons of the message pages.
void addToListAction(std::string_view list);

// Takes "deletefromlist" (the number of a line, blank lines counted) and "type". Numbers go stale and count
// what the page does not show, so our own page also posts "removeentries": for each chosen entry its place
// among those that the page shows, ":" and its text, encoded and joined as above. Where that field is there
// it alone counts.
void deleteFromListAction();

}  // namespace vornelle
