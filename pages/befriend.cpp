#include "pages/befriend.h"

#include <algorithm>

#include "core/letter_case.h"
#include "mail/entry_doubts.h"
#include "mail/filter_lists.h"
#include "mail/mail_address.h"
#include "pages/known_senders.h"

namespace vornelle {
namespace {

std::string quotedOrCounted(const std::vector<std::string>& entries) {
  return entries.size() == 1 ? "\"" + entries.front() + "\"" : std::to_string(entries.size()) + " senders";
}

}  // namespace

std::string befriendSenders(const std::vector<std::string>& senders) {
  const KnownSenders known;
  const EntryDoubts doubts(kFriendList);
  std::vector<std::string> friends, leftOut;
  for (const std::string& sender : senders) {
    const std::string address = toSmallLetters(envelopeAddress(sender));
    if (known.listOf(sender) == "friend") continue;
    std::vector<std::string>& where = !address.empty() && doubts.of(address).empty() ? friends : leftOut;
    const std::string& entry = address.empty() ? sender : address;
    if (std::find(where.begin(), where.end(), entry) == where.end()) where.push_back(entry);
  }
  std::string text;
  if (!friends.empty()) {
    const bool added = listAddMany(kFriendList, friends).result == ListAdditions::Result::done;
    if (added) logAdditions(kFriendList, friends);
    text = ", " + quotedOrCounted(friends) + (added ? " put" : " could not be put") + " on the FriendList";
  }
  if (!leftOut.empty()) {
    text += ", " + quotedOrCounted(leftOut) + " not put on the FriendList: do that by hand if it has to be";
  }
  return text;
}

}  // namespace vornelle
