#include "mail/filter_lists.h"

#include <optional>

#include "base/numbers.h"
#include "base/text.h"
#include "base/url_decode.h"
#include "core/event_log.h"
#include "mail/array_sort.h"
#include "platform/files.h"

namespace vornelle {
namespace {

// nullopt: there is a file, and it cannot be read. A missing one has no lines.
std::optional<std::vector<std::string>> readLines(const std::string& path) {
  if (!fileExists(path)) return std::vector<std::string>{};
  const std::optional<std::string> text = readFile(path);
  if (!text) return std::nullopt;
  return splitLines(*text);
}

[[nodiscard]] bool writeLines(const std::string& path, const std::vector<std::string>& lines) {
  std::string text;
  for (const std::string& line : lines) text.append(line).append(kCrLf);
  return writeFile(path, text);
}

enum class Addition { possible, duplicate, listFull, listUnreadable };

// Reads the list, lower-case and without its blank lines, and tells whether the entry can be added to it.
Addition prepareAddition(std::string_view listName, std::string_view entry,
                         std::vector<std::string>& entries) {
  const std::optional<std::vector<std::string>> lines = readLines(listPath(listName));
  if (!lines) return Addition::listUnreadable;
  entries.clear();
  for (const std::string& line : *lines) {
    if (equalsNoCase(line, entry)) return Addition::duplicate;
    if (!trim(line).empty()) entries.push_back(toLower(line));
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

std::string listPath(std::string_view listName) {
  return applicationFolder() + "\\data\\" + std::string(listName) + ".txt";
}

std::string_view listNameOf(std::string_view text) {
  for (const std::string_view name : {kFriendList, kSubjectList, kEnemyList}) {
    if (equalsNoCase(text, name)) return name;
  }
  return {};
}

void listAdd(std::string_view listName, std::string_view entry) {
  const std::string name(listName);
  const std::string added = toLower(trim(entry));
  if (added.empty()) return;

  std::vector<std::string> entries;
  Addition result = prepareAddition(name, added, entries);
  if (result != Addition::possible) return logRefusal(result, name, added);
  LogWindowAdd(name + " add: " + added);
  // Writing the log lets events in, and one of them may have changed the list.
  result = prepareAddition(name, added, entries);
  if (result != Addition::possible) return logRefusal(result, name, added);

  // Only now: the entry is compared and logged as it was posted.
  entries.push_back(replaceAll(urlDecode(added), "%40", "@"));
  ArraySort::quicksort(entries);
  if (!writeLines(listPath(name), entries))
    LogWindowAdd("**" + name + " cannot be written, not added: " + added);
}

void listRemoveLine(std::string_view type, std::string_view lineNumber) {
  // The type becomes a part of a path: nothing but the three names may pass.
  const std::string name(listNameOf(type));
  const std::optional<double> number = toNumber(lineNumber);
  if (name.empty() || !number) return;
  const std::optional<std::vector<std::string>> lines = readLines(listPath(name));
  if (!lines) return LogWindowAdd("**" + name + " cannot be read, nothing removed");

  std::vector<std::string> kept;
  for (std::size_t position = 0; position < lines->size(); ++position) {
    if (static_cast<double>(position) != *number) kept.push_back((*lines)[position]);
  }
  if (kept.size() == lines->size()) return;
  const std::size_t leftOut = kept.size() > kListCapacity ? kept.size() - kListCapacity : 0;
  kept.resize(kept.size() - leftOut);
  if (!writeLines(listPath(name), kept))
    return LogWindowAdd("**" + name + " cannot be written, nothing removed");
  if (leftOut > 0)
    LogWindowAdd("**" + name + " is too long, left out: its last " + std::to_string(leftOut) + " lines");
}

std::optional<std::vector<std::string>> listForFilter(std::string_view listName) {
  const std::string name(listName);
  std::optional<std::vector<std::string>> lines = readLines(listPath(name));
  if (!lines) {
    LogWindowAdd("**" + name + " cannot be read");
  } else if (lines->size() > kFilterCapacity) {
    LogWindowAdd("**" + name + " has " + std::to_string(lines->size()) + " lines, only the first " +
                 std::to_string(kFilterCapacity) + " are used");
    lines->resize(kFilterCapacity);
  }
  return lines;
}

}  // namespace vornelle
