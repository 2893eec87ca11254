// Reasons to ask before an entry goes on a list: it would match nearly everybody, or oneself, or it stands
// against the other list.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "mail/list_matcher.h"

namespace vornelle {

class EntryDoubts {
 public:
  // For entries of that list; the other list is read as it is now.
  explicit EntryDoubts(std::string_view listName);

  // A sentence each, text for people that quotes entries as they stand; none for an entry that may go on the
  // list without a question. The entry is as it would be stored.
  [[nodiscard]] std::vector<std::string> of(std::string_view entry) const;

 private:
  void addOtherList(std::vector<std::string>& doubts, std::string_view entry) const;

  bool senders_;  // the entries match senders, not subjects
  bool enemy_;
  std::vector<std::string> other_;  // the lines of the other list
  ListMatcher otherMatcher_;
};

}  // namespace vornelle
