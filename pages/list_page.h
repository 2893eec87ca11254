// The pages of the filter lists: one list in a selection box with its help text, and the search through all
// three. Entries and what was searched for go in as pageText() gives them.
#pragma once

#include <string>

namespace vornelle {

// "FriendList", "SubjectList" or "EnemyList" in any letter case, shown as it is given; for any other name
// there are no entries and no help text. A missing list file is created.
[[nodiscard]] std::string pageList(const std::string& listName);

// Entries that contain the text, letter case ignored, list by list. A blank text finds nothing.
[[nodiscard]] std::string pageFind(const std::string& text);

}  // namespace vornelle
