// What a page asks before an entry goes on a list: is there a reason to ask the user, and how many messages
// would it match. Answered at any time, changes nothing, and is not logged.
#pragma once

#include <string>
#include <string_view>

namespace vornelle {

// The form, in browsers' encoding of UTF-8:
//
//   list=EnemyList&entries=bob%40example.org%0Aeve&box=spam&first=0&last=14
//
// Entries are joined by "%0A"; `box` is "spam", "inbox" or anything else for a page without rows, whose first
// and last row the two numbers are. The answer:
//
//   {"entries": [{"entry": "eve", "doubts": ["It has fewer than five letters."]}], those with doubts
//    "rows": [0, 7], of the page that would match
//    "matches": "On this page 2 of 15 messages match."} one or two sentences; "" where nothing is listed
[[nodiscard]] std::string entryCheckJson(std::string_view form);

}  // namespace vornelle
