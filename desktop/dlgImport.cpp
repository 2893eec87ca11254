#include "desktop/dlgImport.h"

#include <optional>
#include <string_view>

#include "base/numbers.h"
#include "base/text.h"
#include "mail/filter_lists.h"
#include "platform/files.h"
#include "platform/shell.h"

namespace vornelle {
namespace {

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
  std::string content = readFile(path).value_or("");
  std::erase(content, '\0');  // a text box would end at the first one
  std::string_view text = content;
  if (text.starts_with("\xEF\xBB\xBF"))
    text.remove_prefix(3);  // the mark of a UTF-8 export is no part of a field
  std::string list;
  for (const std::string& line : splitLines(text)) {
    const std::string field = replaceAll(trim(fieldOf(line, delimiter, *position)), "\"", "");
    if (!field.empty()) list.append(field).append(kCrLf);
  }
  dialog.txtImportList = std::move(list);
  return true;
}

void ImportButtonClick(const DlgImport& dialog) {
  if (dialog.txtImportList.empty()) {
    messageBox("There are no addresses to import.\r\nPlease import a file first.");
    return;
  }
  const ListAdditions additions = listAddMany(kFriendList, splitLines(dialog.txtImportList));
  switch (additions.result) {
    case ListAdditions::Result::cannotRead:
      messageBox("The FriendList file cannot be read. Nothing was imported.");
      break;
    case ListAdditions::Result::full:
      messageBox("The FriendList cannot hold more than " + std::to_string(kImportCapacity) +
                 " entries. Nothing was imported.");
      break;
    case ListAdditions::Result::cannotWrite:
      messageBox("The FriendList file cannot be written. Nothing was imported.");
      break;
    case ListAdditions::Result::done:
      messageBox(std::to_string(additions.added) + " addresses added. " + std::to_string(additions.skipped) +
                 " skipped as duplicate.");
      break;
  }
}

}  // namespace vornelle
