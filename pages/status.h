// What the program is doing and what its last tasks have come to, for the scripts of the pages.
#pragma once

#include <string>
#include <string_view>

namespace vornelle {

// A JSON object in UTF-8. Times are seconds since 1970 UTC; a task that there has been none of has no entry.
//
//   {"underWay": {"task": "filterRun", "text": "Filtering: 120 of 500", "done": 120, "total": 500} or null,
//    "results": {"filterRun": {"time": 1795312800, "good": true, "text": "Mail filtered:  2 msgs.  1 spam."},
//                "failure": ..., "restore": ..., "delete": ..., "add": ..., "remove": ..., "settingsTest":
//                ...},
//    "setup": {"mailbox": true, "friends": true, "run": false}, the first steps that have been done,
//    "removed": null or {"list": "FriendList", "entries": ["bob@example.org"]}, what can be put back,
//    "pop": null or {"reason": "refused", "step": "connecting", "host": "mail.example", "port": 110,
//                    "words": "", "text": "..."},
//    "smtp": the same,
//    "testMode": true, "active": false, "minutesLeft": 27, "now": 1795312860,
//    "inbox": {"fresh": true, "fetched": 1795312800 (0: never), "count": 12}}
[[nodiscard]] std::string statusJson();

// The text as a JSON string in UTF-8, which may stand in a script.
[[nodiscard]] std::string quotedJson(std::string_view text);

// statusJson() as the value of an attribute of a page, to stand between double quotes.
[[nodiscard]] std::string statusAttribute();

}  // namespace vornelle
