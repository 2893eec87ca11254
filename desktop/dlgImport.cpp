#include "desktop/dlgImport.h"

#include <optional>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "base/numbers.h"
#include "base/text.h"
#include "core/event_log.h"
#include "mail/array_sort.h"
#include "platform/files.h"
#include "platform/shell.h"

namespace vornelle {
namespace {

constexpr std::size_t kCapacity = 20001;       // entries that the FriendList can hold here
constexpr std::size_t kFilterEntries = 10000;  // entries of it that a filter run uses

// The field's position, counted from 1; nullopt for what is none.
std::optional<std::size_t> fieldPosition(const std::string& text) {
  const std::optional<std::int32_t> position = toInt32(text);
  if (!position || *position < 1) return std::nullopt;
  return static_cast<std::size_t>(*position);
}

std::string_view fieldOf(std::string_view line, char delimiter, std::size_t position) {
  for (; position > 1; --position) {
    const std::size_t end = line.find(delimiter);
    if (end == std::string_view::npos) return {};
    line.remove_prefix(end + 1);
  }
  return line.substr(0, line.find(delimiter));
}

// The entries of the FriendList file in lower case, blank lines left out. nullopt when the file is there and
// cannot be read: then it must not be rewritten.
std::optional<std::vector<std::string>> readFriendList(const std::string& path) {
  std::vector<std::string> entries;
  if (!fileExists(path)) return entries;
  const std::optional<std::string> content = readFile(path);
  if (!content) return std::nullopt;
  for (const std::string& line : splitLines(*content)) {
    if (!trim(line).empty()) entries.push_back(toLower(line));
  }
  return entries;
}

}  // namespace

bool LoadButtonClick(DlgImport& dialog, const std::function<std::string()>& chooseFile) {
  const std::optional<std::size_t> position = fieldPosition(dialog.txtFieldPos);
  if (!position) {
    messageBox("Field position takes a whole number of 1 or more.");
    return false;
  }
  const std::string path = chooseFile();
  if (path.empty() || !fileExists(path)) return false;

  const char delimiter = dialog.OptComma ? ',' : '\t';
  const std::string content = readFile(path).value_or("");
  std::string_view text = content;
  if (text.starts_with("\xEF\xBB\xBF"))
    text.remove_prefix(3);  // the mark of a UTF-8 export is no part of a field
  std::string list;
  for (const std::string& line : splitLines(text)) {
    const std::string field = replaceAll(fieldOf(line, delimiter, *position), "\"", "");
    const std::string_view address = trim(field);
    if (!address.empty()) list.append(address).append(kCrLf);
  }
  dialog.txtImportList = std::move(list);
  return true;
}

void ImportButtonClick(const DlgImport& dialog) {
  if (dialog.txtImportList.empty()) {
    messageBox("There are no addresses to import.\r\nPlease import a file first.");
    return;
  }
  const std::string path = applicationFolder() + "\\data\\friendlist.txt";
  std::optional<std::vector<std::string>> entries = readFriendList(path);
  if (!entries) {
    messageBox("The FriendList file cannot be read. Nothing was imported.");
    return;
  }

  std::unordered_set<std::string> held(entries->begin(), entries->end());
  std::size_t added = 0;
  std::size_t skipped = 0;
  for (const std::string& piece : splitLines(dialog.txtImportList)) {
    if (trim(piece).empty()) continue;
    std::string entry = toLower(trim(piece));
    if (!held.insert(entry).second) {
      ++skipped;
      continue;
    }
    entries->push_back(std::move(entry));
    ++added;
  }
  // Rewriting a list that does not fit would lose entries that the file holds.
  if (entries->size() > kCapacity) {
    messageBox("The FriendList cannot hold more than " + std::to_string(kCapacity) +
               " entries. Nothing was imported.");
    return;
  }

  ArraySort::quicksort(*entries);
  std::string lines;
  for (const std::string& entry : *entries) lines.append(entry).append(kCrLf);
  if (!writeFile(path, lines)) {
    messageBox("The FriendList file cannot be written. Nothing was imported.");
    return;
  }
  if (entries->size() > kFilterEntries) {
    LogWindowAdd("**FriendList holds " + std::to_string(entries->size()) +
                 " entries, the filter uses the first " + std::to_string(kFilterEntries));
  }
  messageBox(std::to_string(added) + " addresses added. " + std::to_string(skipped) +
             " skipped as duplicate.");
}

}  // namespace vornelle
