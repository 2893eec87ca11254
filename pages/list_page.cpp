#include "pages/list_page.h"

#include <optional>
#include <utility>
#include <vector>

#include "mail/filter_lists.h"
#include "pages/browser_text.h"
#include "pages/template.h"

namespace vornelle {

namespace {

// One option line for each entry. Its value is the entry's number.
std::string optionLines(const std::string& listName) {
  std::string options;
  int number = 0;
  for (const std::string& entry : listEntries(listName)) {
    options += "<option value='" + std::to_string(number) + "'>" + pageText(entry) + "</option>\r\n";
    number++;
  }
  return options;
}

std::string matchesIn(std::string_view listName, std::string_view text) {
  std::string section = "<p><b>" + std::string(listName) + " Matches:</b><br>\r\n";
  const std::optional<std::vector<std::string>> matches = listMatches(listName, text);
  if (!matches) return section;  // without its file the section stays at its heading
  for (const std::string& line : *matches) section += "- " + pageText(line) + "<br>\r\n";
  return section + (matches->empty() ? "<i>No matches</i></p>\r\n" : "</p>\r\n");
}

}  // namespace

std::string pageList(const std::string& listName) {
  const FilterListInfo* const list = findList(listName);
  const std::string options = optionLines(listName);  // this page is filled with the list as it was before
  std::string page = readTemplate("List.htm");
  return fillPage(std::move(page),
                  {{"<!--SSPAGEDESC-->", listName}, {"<!--SSTYPE-->", listName}, {"<!--SSLIST-->", options}},
                  {{"<!--SSDESC-->", std::string(list ? list->helpText : "")}});
}

std::string pageFind(const std::string& text) {
  std::string page = readTemplate("find.htm");
  // Reading lets events in, and what is searched are the lists as they stand afterwards.
  std::string result = "<p><b>Last search: </b>" + pageText(text) + "</p>\r\n";
  for (const FilterListInfo& list : kFilterLists) result += matchesIn(list.name, text);
  return fillPage(std::move(page),
                  {{"<!--SSPAGEDESC-->", "Find in Lists"}, {"<!--SSTYPE-->", "Find in Lists"}},
                  {{"<!--ssFINDINLISTS-->", result}});
}

}  // namespace vornelle
