#include "pages/list_page.h"

#include <string_view>

#include "base/text.h"
#include "core/form1.h"
#include "pages/template.h"
#include "platform/files.h"

namespace vornelle {

namespace {

// The three texts are known to users by their slips ("a EnemyListed", "a these"), which stay.
constexpr std::string_view kFriendListHelp =
    "This is a list of emails (e.g., user@example.com) that you wish to NOT be treated as spam. You may also "
    "use a portion of an email (e.g., @example.com or example.com). Note that a EnemyListed email will be "
    "treated as spam even if it matches something in the FriendList. Generally, it is best NOT to add your "
    "own email address as many spammers try to trick filters by using it as the sender's address.";
constexpr std::string_view kSubjectListHelp =
    "This is a list of subject line text that you wish to NOT be treated as spam. Use this for when you send "
    "e-mail to yourself and don't want it caught by the filter or when you get automated emails that always "
    "use the same subject line. Note that other text can appear along with what you list here.";
constexpr std::string_view kEnemyListHelp =
    "This is a list of emails (e.g., user@example.com) that you wish to ALWAYS be treated as spam. You may "
    "also use a portion of an email (e.g., @example.com or example.com). Note that a these will override "
    "matches in your FriendList.";

std::string_view helpText(std::string_view listName) {
  if (equalsNoCase(listName, "friendlist")) return kFriendListHelp;
  if (equalsNoCase(listName, "SUBJECTLIST")) return kSubjectListHelp;
  if (equalsNoCase(listName, "ENEMYLIST")) return kEnemyListHelp;
  return "";
}

// One option line for each entry. Its value is the entry's number: blank lines are skipped and get none.
std::string optionLines(const std::string& path) {
  std::string options;
  int number = 0;
  for (const std::string& line : splitLines(readFile(path).value_or(""))) {
    const std::string_view entry = trim(line);
    if (entry.empty()) continue;
    if (number > kLastRow) break;
    options += "<option value='" + std::to_string(number) + "'>" + std::string(entry) + "</option>\r\n";
    number++;
  }
  return options;
}

}  // namespace

std::string pageList(const std::string& listName) {
  const std::string path = applicationFolder() + "\\data\\" + listName + ".txt";
  if (!fileExists(path)) static_cast<void>(writeFile(path, kCrLf));  // where that fails the box is just empty
  return fillPage(
      "List.htm",
      {{"<!--SSPAGEDESC-->", listName}, {"<!--SSTYPE-->", listName}, {"<!--SSLIST-->", optionLines(path)}},
      {{"<!--SSDESC-->", std::string(helpText(listName))}});
}

}  // namespace vornelle
