#include "pages/find_page.h"

#include <string_view>

#include "base/text.h"
#include "pages/template.h"
#include "platform/files.h"

namespace vornelle {

namespace {

constexpr std::string_view kListNames[] = {"FriendList", "SubjectList", "EnemyList"};

std::string matchesIn(std::string_view listName, std::string_view text) {
  std::string section = "<p><b>" + std::string(listName) + " Matches:</b><br>\r\n";
  const auto file = readFile(applicationFolder() + "\\data\\" + toLower(listName) + ".txt");
  if (!file) return section;  // without its file the section stays at its heading
  bool found = false;
  for (const std::string& line : splitLines(*file)) {
    if (trim(text).empty() || !containsNoCase(line, text)) continue;
    section += "- " + line + "<br>\r\n";
    found = true;
  }
  return section + (found ? "</p>\r\n" : "<i>No matches</i></p>\r\n");
}

}  // namespace

std::string pageFind(const std::string& text) {
  std::string result = "<p><b>Last search: </b>" + text + "</p>\r\n";
  for (const std::string_view listName : kListNames) result += matchesIn(listName, text);
  return fillPage("find.htm", {{"<!--SSPAGEDESC-->", "Find in Lists"}, {"<!--SSTYPE-->", "Find in Lists"}},
                  {{"<!--ssFINDINLISTS-->", result}});
}

}  // namespace vornelle
