#include "desktop/dlgImport.h"

#include <optional>
#include <string_view>
#include <utility>

#include "base/numbers.h"
#include "base/text.h"
#include "base/unicode.h"
#include "mail/charset.h"
#include "mail/filter_lists.h"
#include "platform/charset.h"
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

// Programs export in UTF-8, in UTF-16 with its mark, or in the character set of the system's own files.
std::string addressBookText(std::string_view bytes) {
  std::optional<std::string> text;
  if (bytes.starts_with("\xFF\xFE") || bytes.starts_with("\xFE\xFF")) {
    text = charsetToText("utf-16", bytes);
  } else if (!isUtf8(bytes)) {
    const std::string local = localCharset();
    // These bytes are none of a system whose own files are UTF-8.
    text = equalsNoCase(local, "utf-8") ? std::nullopt : charsetToText(local, bytes);
  }
  std::string result = text ? std::move(*text) : unlabelledToText(bytes);
  std::erase(result, '\0');  // a text box would end at the first one
  return result;
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
  const std::string text = addressBookText(readFile(path).value_or(""));
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
