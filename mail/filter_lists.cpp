#include "mail/filter_lists.h"

#include <iterator>
#include <map>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "base/numbers.h"
#include "base/text.h"
#include "base/url_decode.h"
#include "core/event_log.h"
#include "core/letter_case.h"
#include "mail/array_sort.h"
#include "platform/files.h"

namespace vornelle {
namespace {

using Lines = std::vector<std::string>;

std::string pathOf(std::string_view listName) {
  const FilterListInfo* const list = findList(listName);
  return list ? applicationFolder().append(list->path) : "";
}

// nullopt: there is a file, and it cannot be read. A missing one has no lines.
std::optional<Lines> readLines(std::string_view listName) {
  const std::string path = pathOf(listName);
  if (!fileExists(path)) return Lines{};
  const std::optional<std::string> text = readFile(path);
  if (!text) return std::nullopt;
  return splitLines(*text);
}

[[nodiscard]] bool writeLines(std::string_view listName, const Lines& lines) {
  std::string text;
  for (const std::string& line : lines) text.append(line).append(kCrLf);
  return writeFile(pathOf(listName), text);
}

enum class Addition { possible, duplicate, listFull, listUnreadable };

// Reads the list, in small letters and without its blank lines, and tells whether the entry can be added to
// it.
Addition prepareAddition(std::string_view listName, std::string_view entry, Lines& entries) {
  const std::optional<Lines> lines = readLines(listName);
  if (!lines) return Addition::listUnreadable;
  entries.clear();
  const std::string form = searchForm(entry);
  for (const std::string& line : *lines) {
    if (searchForm(line) == form) return Addition::duplicate;
    if (!trim(line).empty()) entries.push_back(toSmallLetters(line));
  }
  return entries.size() < kListCapacity ? Addition::possible : Addition::listFull;
}

void logRefusal(Addition result, const std::string& listName, const std::string& entry) {
  if (result == Addition::listFull) {
    LogWindowAdd("**" + listName + " is full (" + std::to_string(kListCapacity) +
                 " entries), not added: " + entry);
  } else if (result == Addition::listUnreadable) {
    LogWindowAdd("**" + listName + " cannot be read, not added: " + entry);
  }
}

}  // namespace

const FilterListInfo* findList(std::string_view name) {
  for (const FilterListInfo& list : kFilterLists) {
    if (equalsNoCase(name, list.name)) return &list;
  }
  return nullptr;
}

void createMissingLists() {
  Lines paths;
  for (const FilterListInfo& list : kFilterLists) paths.push_back(pathOf(list.name));
  ArraySort::quicksort(paths);
  for (const std::string& path : paths) {
    if (!fileExists(path)) static_cast<void>(appendFile(path, ""));  // a missing list reads as an empty one
  }
}

std::uint64_t listLength(std::string_view listName) {
  return fileLength(pathOf(listName)).value_or(0);
}

std::vector<std::string> listEntries(std::string_view listName) {
  const std::string path = pathOf(listName);
  if (!fileExists(path)) static_cast<void>(writeFile(path, kCrLf));  // where that fails there are no entries
  Lines entries;
  for (const std::string& line : readLines(listName).value_or(Lines{})) {
    const std::string_view entry = trim(line);
    if (!entry.empty() && entries.size() < kListCapacity) entries.emplace_back(entry);
  }
  return entries;
}

std::optional<std::vector<std::string>> listMatches(std::string_view listName, std::string_view text) {
  const std::string path = pathOf(listName);
  if (!fileExists(path)) return std::nullopt;
  std::optional<Lines> lines = readLines(listName);
  if (lines) {
    const bool isBlank = trim(text).empty();
    const std::string form = searchForm(text);
    std::erase_if(*lines, [&](const std::string& line) {
      return isBlank || searchForm(line).find(form) == std::string::npos;
    });
  }
  return lines;
}

std::optional<std::vector<std::string>> listForFilter(std::string_view listName) {
  const std::string name(listName);
  std::optional<Lines> lines = readLines(name);
  if (!lines) {
    LogWindowAdd("**" + name + " cannot be read");
  } else if (lines->size() > kFilterCapacity) {
    LogWindowAdd("**" + name + " has " + std::to_string(lines->size()) + " lines, only the first " +
                 std::to_string(kFilterCapacity) + " are used");
    lines->resize(kFilterCapacity);
  }
  return lines;
}

std::optional<std::vector<std::string>> listLines(std::string_view listName) {
  std::optional<Lines> lines = readLines(listName);
  if (lines && lines->size() > kFilterCapacity) lines->resize(kFilterCapacity);
  return lines;
}

void listAdd(std::string_view listName, std::string_view entry) {
  const std::string name(listName);
  // A letter that the page's code page lacks is posted as a reference: it is that letter from here on.
  const std::string added = toSmallLetters(trim(decodePostedReferences(entry)));
  if (added.empty()) return;

  Lines entries;
  Addition result = prepareAddition(name, added, entries);
  if (result != Addition::possible) return logRefusal(result, name, added);
  LogWindowAdd(name + " add: " + added);
  // Writing the log lets events in, and one of them may have changed the list.
  result = prepareAddition(name, added, entries);
  if (result != Addition::possible) return logRefusal(result, name, added);

  // Only now: the entry is compared and logged as it was posted.
  entries.push_back(replaceAll(urlDecode(added), "%40", "@"));
  ArraySort::quicksort(entries);
  if (!writeLines(name, entries)) LogWindowAdd("**" + name + " cannot be written, not added: " + added);
}

ListAdditions listAddMany(std::string_view listName, const std::vector<std::string>& entries) {
  using Result = ListAdditions::Result;
  std::optional<Lines> lines = readLines(listName);
  if (!lines) return {Result::cannotRead};
  std::erase_if(*lines, [](const std::string& line) { return trim(line).empty(); });

  ListAdditions additions;
  std::unordered_set<std::string> held;
  for (const std::string& line : *lines) held.insert(searchForm(line));
  for (const std::string& entry : entries) {
    std::string added = toSmallLetters(trim(entry));
    if (added.empty()) continue;
    if (!held.insert(searchForm(added)).second) {
      ++additions.skipped;
      continue;
    }
    lines->push_back(std::move(added));
    ++additions.added;
  }
  // Rewriting a list that does not fit would lose entries that the file holds.
  if (lines->size() > kImportCapacity) return {Result::full};
  ArraySort::quicksort(*lines);
  if (!writeLines(listName, *lines)) return {Result::cannotWrite};
  if (lines->size() > kFilterCapacity) {
    LogWindowAdd("**" + std::string(listName) + " holds " + std::to_string(lines->size()) +
                 " entries, the filter uses the first " + std::to_string(kFilterCapacity));
  }
  return additions;
}

void logAdditions(std::string_view listName, const std::vector<std::string>& entries) {
  constexpr std::size_t kMostLines = 50;
  const std::string start = std::string(listName) + " add: ";
  if (entries.size() > kMostLines) return LogWindowAdd(start + std::to_string(entries.size()) + " entries");
  for (const std::string& entry : entries) LogWindowAdd(start + entry);
}

void listRemoveLine(std::string_view type, std::string_view lineNumber) {
  // The type becomes a part of a path: nothing but the lists' names may pass.
  const FilterListInfo* const list = findList(type);
  if (!list || trim(lineNumber).empty()) return;
  const std::string name(list->name);
  const std::optional<Lines> lines = readLines(name);
  if (!lines) return LogWindowAdd("**" + name + " cannot be read, nothing removed");

  const double number = val(lineNumber);
  Lines kept;
  for (std::size_t position = 0; position < lines->size(); ++position) {
    if (static_cast<double>(position) != number) kept.push_back((*lines)[position]);
  }
  const std::size_t leftOut = kept.size() > kListCapacity ? kept.size() - kListCapacity : 0;
  kept.resize(kept.size() - leftOut);
  if (!writeLines(name, kept)) return LogWindowAdd("**" + name + " cannot be written, nothing removed");
  if (leftOut > 0)
    LogWindowAdd("**" + name + " is too long, left out: its last " + std::to_string(leftOut) + " lines");
}

ListRemovals listRemoveEntries(std::string_view type, const std::vector<ShownEntry>& entries) {
  using Result = ListRemovals::Result;
  const FilterListInfo* const list = findList(type);
  if (!list) return {Result::noSuchList, {}, {}};
  const std::optional<Lines> lines = readLines(list->name);
  if (!lines) return {Result::cannotRead, {}, {}};

  // Each text once, with the places of its lines that are still there.
  std::unordered_map<std::string, std::map<std::size_t, std::size_t>> linesOf;  // place, number of the line
  std::size_t place = 0;
  for (std::size_t number = 0; number < lines->size(); ++number) {
    const std::string_view text = trim((*lines)[number]);
    if (!text.empty()) linesOf[std::string(text)].emplace(place++, number);
  }

  ListRemovals removals;
  std::vector<bool> gone(lines->size());
  for (const ShownEntry& entry : entries) {
    const auto found = linesOf.find(std::string(trim(entry.text)));
    if (found == linesOf.end() || found->second.empty()) {
      removals.missing.push_back(entry.text);
      continue;
    }
    std::map<std::size_t, std::size_t>& places = found->second;
    auto nearest = places.lower_bound(entry.place);
    if (nearest == places.end()) {
      --nearest;
    } else if (nearest != places.begin()) {
      const auto before = std::prev(nearest);
      if (entry.place - before->first < nearest->first - entry.place) nearest = before;
    }
    gone[nearest->second] = true;
    places.erase(nearest);
    removals.removed.push_back(entry.text);
  }
  if (removals.removed.empty()) return removals;

  Lines kept;
  for (std::size_t number = 0; number < lines->size(); ++number) {
    if (!gone[number]) kept.push_back((*lines)[number]);
  }
  if (kept.size() > kListCapacity) return {Result::tooLong, {}, {}};
  if (!writeLines(list->name, kept)) return {Result::cannotWrite, {}, {}};
  return removals;
}

}  // namespace vornelle
