#include "web/list_actions.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "base/characters.h"
#include "base/numbers.h"
#include "base/text.h"
#include "base/url_decode.h"
#include "core/activity.h"
#include "core/form1.h"
#include "core/letter_case.h"
#include "mail/filter_lists.h"
#include "web/request.h"

namespace vornelle {

namespace {

// The field's value where the request has it behind an "&": another name that ends alike is another field.
std::optional<std::string> ownField(const std::string& name) {
  if (findNoCase(form1.requestText, "&" + name + "=") == std::string::npos) return std::nullopt;
  return requestParam(name);
}

std::vector<std::string> decodedPieces(std::string_view value) {
  std::vector<std::string> pieces;
  for (const std::string_view piece : joinedPieces(value)) pieces.push_back(percentDecode(piece));
  return pieces;
}

// A letter beyond ASCII comes as its reference, also one that the code page has.
std::string withLetters(const std::string& entry) {
  std::string letters;
  for (std::size_t at = 0; at < entry.size();) {
    unsigned code = 0;
    const std::size_t digits = at + 2;
    const std::size_t end = entry.compare(at, 2, "&#") == 0 ? entry.find(';', digits) : std::string::npos;
    if (end != std::string::npos && end - digits <= 7 &&
        isDigits(std::string_view(entry).substr(digits, end - digits))) {
      std::from_chars(entry.data() + digits, entry.data() + end, code);
    }
    if (code >= 0x80) {
      appendCharacter(letters, code);
      at = end + 1;
    } else {
      letters += entry[at++];
    }
  }
  return letters;
}

std::string quotedEntries(const std::vector<std::string>& entries) {
  return entries.size() == 1 ? "\"" + entries.front() + "\"" : std::to_string(entries.size()) + " entries";
}

// Adds, and remembers what came of it. A list that holds the entry already, is full or cannot be changed is
// as long as before.
void addOne(std::string_view list, const std::string& item) {
  const std::uint64_t before = listLength(list);
  listAdd(list, item);
  const bool added = listLength(list) != before;
  const std::string what = "\"" + urlDecode(item) + "\"";
  outcomes.addition = added
                          ? outcome(true, "Added " + what + " to the " + std::string(list) + ".")
                          : outcome(false, "Not added to the " + std::string(list) + ": " + what +
                                               ". It stands there already, or the event log tells why not.");
}

void addMany(const std::string& list, std::vector<std::string> entries) {
  using Result = ListAdditions::Result;
  for (std::string& entry : entries) entry = toSmallLetters(trim(withLetters(entry)));
  std::erase(entries, "");
  const ListAdditions additions = listAddMany(list, entries);
  switch (additions.result) {
    case Result::done:
      if (additions.added == 0) {
        outcomes.addition =
            outcome(true, quotedEntries(entries) + (entries.size() == 1 ? " stands" : " stand") + " on the " +
                              list + " already.");
        break;
      }
      logAdditions(list, entries);
      outcomes.addition = outcome(
          true,
          "Added " + (additions.skipped == 0 ? quotedEntries(entries) : std::to_string(additions.added)) +
              " to the " + list +
              (additions.skipped == 0 ? "."
                                      : "; " + std::to_string(additions.skipped) + " stood there already."));
      break;
    case Result::cannotRead:
      outcomes.addition = outcome(false, "Nothing was added: the " + list + " cannot be read.");
      break;
    case Result::full:
      outcomes.addition = outcome(false, "Nothing was added: the " + list + " is full.");
      break;
    case Result::cannotWrite:
      outcomes.addition = outcome(false, "Nothing was added: the " + list + " cannot be written.");
      break;
  }
}

Outcome removalOutcome(const std::string& list, const ListRemovals& removals) {
  using Result = ListRemovals::Result;
  switch (removals.result) {
    case Result::noSuchList:
      return outcome(false, "Nothing was removed: there is no list of that name.");
    case Result::cannotRead:
      return outcome(false, "Nothing was removed: the " + list + " cannot be read.");
    case Result::tooLong:
      return outcome(
          false, "Nothing was removed: the " + list + " has more entries than the program can keep (" +
                     std::to_string(kListCapacity) +
                     "), and some would be lost. Shorten its file in the data folder with a text editor.");
    case Result::cannotWrite:
      return outcome(false, "Nothing was removed: the " + list + " cannot be written.");
    case Result::done:
      break;
  }
  std::string text;
  if (!removals.removed.empty())
    text = "Removed " + quotedEntries(removals.removed) + " from the " + list + ".";
  if (!removals.missing.empty())
    text += std::string(text.empty() ? "" : " ") + "Not in the " + list +
            " any more: " + quotedEntries(removals.missing) + ".";
  return outcome(removals.missing.empty(), text);
}

// "12:bob@example.org"
ShownEntry shownEntry(const std::string& piece) {
  const std::size_t colon = std::min(piece.find(':'), piece.size());
  ShownEntry entry;
  std::from_chars(piece.data(), piece.data() + colon, entry.place);
  if (colon < piece.size()) entry.text = piece.substr(colon + 1);
  return entry;
}

void removeShown(const std::string& type, const std::string& value) {
  std::vector<ShownEntry> entries;
  for (const std::string& piece : decodedPieces(value)) entries.push_back(shownEntry(piece));
  const ListRemovals removals = listRemoveEntries(type, entries);
  const FilterListInfo* const list = findList(type);
  const std::string name(list ? list->name : "");
  outcomes.removal = removalOutcome(name, removals);
  lastRemoval = removals.removed.empty() ? LastRemoval{} : LastRemoval{name, removals.removed};
}

}  // namespace

void addToListAction() {
  const std::string item = requestParam("addtolist").value_or("");
  const FilterListInfo* const list = findList(requestParam("type").value_or(""));
  if (!list) return;
  if (const std::optional<std::string> entries = ownField("addentries")) {
    addMany(std::string(list->name), decodedPieces(*entries));
  } else {
    addOne(list->name, item);
  }
}

void addToListAction(std::string_view list) {
  addOne(list, requestParam("ADDTOLIST").value_or(""));
}

void deleteFromListAction() {
  const std::string line = requestParam("deletefromlist").value_or("");
  const std::string type = requestParam("type").value_or("");
  if (const std::optional<std::string> entries = ownField("removeentries")) {
    removeShown(type, *entries);
  } else {
    listRemoveLine(type, line);
  }
}

}  // namespace vornelle
