// The page of one filter list: its entries in a selection box, and a help text.
#pragma once

#include <string>

namespace vornelle {

// The name is the file's name without ".txt" and is shown as given; "FriendList", "SubjectList" or
// "EnemyList" in any letter case. A missing list file is created.
[[nodiscard]] std::string pageList(const std::string& listName);

}  // namespace vornelle
