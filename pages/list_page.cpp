#include "pages/list_page.h"

#include <utility>

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

}  // namespace

std::string pageList(const std::string& listName) {
  const FilterListInfo* const list = findList(listName);
  const std::string options = optionLines(listName);  // this page is filled with the list as it was before
  std::string page = readTemplate("List.htm");
  return fillPage(std::move(page),
                  {{"<!--SSPAGEDESC-->", listName}, {"<!--SSTYPE-->", listName}, {"<!--SSLIST-->", options}},
                  {{"<!--SSDESC-->", std::string(list ? list->helpText : "")}});
}

}  // namespace vornelle
