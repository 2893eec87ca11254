// Puts the senders of restored messages on the FriendList, so that the next run does not catch them again.
#pragma once

#include <string>
#include <vector>

namespace vornelle {

// Each sender as its message has it. Those who are on that list already are passed over; those without an
// address, or with one that would need a question first, are left out, which the text tells. What came of it,
// as the end of a sentence for people: ", 2 senders put on the FriendList"; "" when there was nothing to do.
[[nodiscard]] std::string befriendSenders(const std::vector<std::string>& senders);

}  // namespace vornelle
