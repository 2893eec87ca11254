// The three lists that steer the filter: FriendList, SubjectList and EnemyList. Each is one text file of the
// "data" folder, one entry a line. Whatever reads or changes a list does it here.
//
// A list is named by one of the three names below. Letter case does not count, but log lines repeat the name
// as it is given.
//
// No list is ever rewritten that could not be read: nullopt, a log line or a result says so.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vornelle {

inline constexpr std::string_view kFriendList = "FriendList";
inline constexpr std::string_view kSubjectList = "SubjectList";
inline constexpr std::string_view kEnemyList = "EnemyList";

struct FilterListInfo {
  std::string_view name;      // as pages and log lines spell it
  std::string_view path;      // of its file, below the application folder
  std::string_view helpText;  // what the list's page says about it
};

// In the order in which pages show them. The texts are known to users by their slips ("a EnemyListed",
// "a these"), which stay.
inline constexpr FilterListInfo kFilterLists[] = {
    {kFriendList, "\\data\\friendlist.txt",
     "This is a list of emails (e.g., user@example.com) that you wish to NOT be treated as spam. You may "
     "also use a portion of an email (e.g., @example.com or example.com). Note that a EnemyListed email will "
     "be treated as spam even if it matches something in the FriendList. Generally, it is best NOT to add "
     "your own email address as many spammers try to trick filters by using it as the sender's address."},
    {kSubjectList, "\\data\\subjectlist.txt",
     "This is a list of subject line text that you wish to NOT be treated as spam. Use this for when you "
     "send e-mail to yourself and don't want it caught by the filter or when you get automated emails that "
     "always use the same subject line. Note that other text can appear along with what you list here."},
    {kEnemyList, "\\data\\enemylist.txt",
     "This is a list of emails (e.g., user@example.com) that you wish to ALWAYS be treated as spam. You may "
     "also use a portion of an email (e.g., @example.com or example.com). Note that a these will override "
     "matches in your FriendList."},
};

// As many entries as a list being edited can hold, as an import leaves there, and as the filter uses.
inline constexpr std::size_t kListCapacity = 10001;
inline constexpr std::size_t kImportCapacity = 20001;
inline constexpr std::size_t kFilterCapacity = 10000;

// In bytes. A FriendList shorter than any address would make everything spam: nothing is filtered by it.
inline constexpr std::uint64_t kShortestFriendList = 8;

// The list with that name in any letter case; null when there is none.
[[nodiscard]] const FilterListInfo* findList(std::string_view name);

// Makes an empty file for each list that has none, in the order of the files' names.
void createMissingLists();

// The bytes of the list's file; 0 where there is none.
[[nodiscard]] std::uint64_t listLength(std::string_view listName);

// What the list's page shows: at most kListCapacity entries in the order of the file, without blanks around
// them and without the blank lines; none of a file that cannot be read. A missing one is created with one
// empty line.
[[nodiscard]] std::vector<std::string> listEntries(std::string_view listName);

// The lines that hold the text, letter case ignored; none for a text of blanks. nullopt where there is no
// file that can be read.
[[nodiscard]] std::optional<std::vector<std::string>> listMatches(std::string_view listName,
                                                                  std::string_view text);

// The list's lines as they stand in its file, for one filter run: at most kFilterCapacity, with a log line
// when there are more. A missing list has none; nullopt, and a log line, when there is a file that cannot be
// read.
[[nodiscard]] std::optional<std::vector<std::string>> listForFilter(std::string_view listName);

// The same without a word in the log: for what is told about messages, and not done with them.
[[nodiscard]] std::optional<std::vector<std::string>> listLines(std::string_view listName);

// Adds the entry, in its form encoding, to the list: in small letters, without blanks around it, decoded when
// it is stored. An entry that the list holds already, as it was posted, changes nothing. The file comes out
// in small letters, without blank lines, sorted. A full list, or one that cannot be read, is left as it is,
// which the log tells.
void listAdd(std::string_view listName, std::string_view entry);

// Adds many entries: in small letters, without blanks around them, those of blanks only left out. One that
// the list holds already, or that came before, is counted as skipped. The lines of the file stay as they are
// spelled; blank ones go, and all are sorted.
struct ListAdditions {
  enum class Result { done, cannotRead, full, cannotWrite };
  Result result = Result::done;  // nothing has been added unless it is `done`
  std::size_t added = 0;
  std::size_t skipped = 0;
};
[[nodiscard]] ListAdditions listAddMany(std::string_view listName, const std::vector<std::string>& entries);

// The log lines of such an addition: one an entry, or one for all where they are many.
void logAdditions(std::string_view listName, const std::vector<std::string>& entries);

// Removes the line whose number, counted from 0 over all lines of the file, blank ones too, is the value of
// the text as val() reads it, and writes the other lines back, each with its CR LF, also where no line has
// that number; of a list without a file there are none. `type` is the list's name. Both come from a request:
// a text of blanks and any other name remove nothing. At most kListCapacity lines are kept, with a log line
// when that leaves some out.
void listRemoveLine(std::string_view type, std::string_view lineNumber);

// An entry as the list's page showed it: its place among the entries, counted from 0 without the blank lines,
// and its text.
struct ShownEntry {
  std::size_t place = 0;
  std::string text;
};

// Removes entries by their texts, since places go stale: of several lines with one text the one nearest to
// the place. The other lines stay as they are, blank ones too. A list with more lines than can be kept is
// left alone as a whole.
struct ListRemovals {
  enum class Result { done, noSuchList, cannotRead, tooLong, cannotWrite };
  Result result = Result::done;  // nothing has been removed unless it is `done`
  std::vector<std::string> removed;
  std::vector<std::string> missing;  // not in the list any more
};
[[nodiscard]] ListRemovals listRemoveEntries(std::string_view type, const std::vector<ShownEntry>& entries);

}  // namespace vornelle
