#include "pages/settings_page.h"

#include <utility>
#include <vector>

#include "core/settings_table.h"
#include "pages/browser_text.h"
#include "pages/template.h"

namespace vornelle {

std::string pageSettings() {
  std::string page = readTemplate("config.htm");
  // Reading lets events in, and what is shown is what holds afterwards.
  std::vector<std::string> names;
  for (const Setting* setting : settingsOnPage())
    names.push_back("<!--" + std::string(setting->field) + "-->");
  std::vector<Marker> markers = {{"<!--SSPAGEDESC-->", "Config"}};
  for (std::size_t i = 0; i < names.size(); ++i) {
    const Setting& setting = *settingsOnPage()[i];
    const std::string checked = setting.isCheckBox() && isOn(setting) ? "CHECKED" : "";
    markers.emplace_back(names[i], setting.isCheckBox() ? checked : pageText(shownText(setting)));
  }
  return fillPage(std::move(page), markers);
}

}  // namespace vornelle
