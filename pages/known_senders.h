// Which list a sender is on, by the filter's own rule: what the rows of a browser's page tell.
#pragma once

#include <string_view>

#include "mail/list_matcher.h"

namespace vornelle {

// The two lists as they are when it is made; one that cannot be read knows nobody.
class KnownSenders {
 public:
  KnownSenders();

  // "enemy" where the EnemyList matches, which wins; "friend" where the FriendList does; else "".
  [[nodiscard]] std::string_view listOf(std::string_view from) const;

 private:
  ListMatcher friends_;
  ListMatcher enemies_;
};

}  // namespace vornelle
