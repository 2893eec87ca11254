// The three lists that steer the filter: "\data\friendlist.txt", "\data\subjectlist.txt" and
// "\data\enemylist.txt" under the application folder, one entry a line. List names are "FriendList",
// "SubjectList" and "EnemyList".
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vornelle {

inline constexpr std::string_view kFriendList = "FriendList";
inline constexpr std::string_view kSubjectList = "SubjectList";
inline constexpr std::string_view kEnemyList = "EnemyList";

// As many lines as a list being edited can hold, and as many as the filter uses.
inline constexpr std::size_t kListCapacity = 10001;
inline constexpr std::size_t kFilterCapacity = 10000;

// The path of the list's file.
[[nodiscard]] std::string listPath(std::string_view listName);

// The list name that the text is in any letter case; "" when it is none.
[[nodiscard]] std::string_view listNameOf(std::string_view text);

// Adds the entry, in its form encoding, to the list: lower-case, without blanks around it, decoded when it is
// stored. An entry that the list holds already, as it was posted, changes nothing. The file comes out
// lower-case, without blank lines, sorted. A full list, or one that cannot be read, is left as it is, which
// the log tells.
void listAdd(std::string_view listName, std::string_view entry);

// Removes the line with that number, counted from 0 over all lines of the file, blank ones too. `type` is the
// list's name in any letter case and `lineNumber` a number as text; both come from a request, and anything
// else that stands in them removes nothing. At most kListCapacity lines are kept, with a log line when that
// leaves some out.
void listRemoveLine(std::string_view type, std::string_view lineNumber);

// The list's lines as they stand in its file, for one filter run: at most kFilterCapacity, with a log line
// when there are more. A missing list has none; nullopt, and a log line, when there is a file that cannot be
// read.
[[nodiscard]] std::optional<std::vector<std::string>> listForFilter(std::string_view listName);

}  // namespace vornelle
