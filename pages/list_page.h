// The page of one filter list: its entries in a selection box, and a help text.
#pragma once

#include <string>

namespace vornelle {

// "FriendList", "SubjectList" or "EnemyList" in any letter case, shown as it is given; of any other name an
// empty page. The entries go in as pageText() gives them. A missing list file is created.
[[nodiscard]] std::string pageList(const std::string& listName);

}  // namespace vornelle
