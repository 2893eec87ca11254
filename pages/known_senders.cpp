#include "pages/known_senders.h"

#include <string>
#include <vector>

#include "mail/filter_lists.h"

namespace vornelle {

KnownSenders::KnownSenders()
    : friends_(listLines(kFriendList).value_or(std::vector<std::string>{})),
      enemies_(listLines(kEnemyList).value_or(std::vector<std::string>{})) {}

std::string_view KnownSenders::listOf(std::string_view from) const {
  if (enemies_.matches(from)) return "enemy";
  return friends_.matches(from) ? "friend" : "";
}

}  // namespace vornelle
