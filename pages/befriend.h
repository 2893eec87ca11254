// Puts the senders of restored messages on the FriendList, so that the next run does not catch them again.
#pragma once

#include <string>
#include <vector>

namespace vornelle {

// Each sender as its row has it. Those who are on a list already are passed over; so are those whose address
// would need a question first. What came of it, as the end of a sentence for people: ", 2 senders put on the
// FriendList"; "" when there was nothing to do.
[[nodiscard]] std::string befriendSenders(const std::vector<std::string>& senders);

}  // namespace vornelle
