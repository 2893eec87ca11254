// The table of settings by itself, and that the document tells what it says.
#include "core/settings_table.h"

#include <fstream>
#include <iterator>
#include <map>
#include <regex>
#include <set>

#include "base/text.h"
#include "tests/unit/support.h"

namespace vornelle {
namespace {

using testing::HasSubstr;

class SettingsTable : public SimTest {
 protected:
  SettingsTable() { assignConstants(); }
};

struct Described {
  std::string defaultValue;
  std::string meaning;
};

std::vector<std::string> cellsOf(const std::string& line) {
  std::vector<std::string> cells;
  std::size_t at = 1;
  for (std::size_t end; (end = line.find('|', at)) != std::string::npos; at = end + 1)
    cells.emplace_back(trim(std::string_view(line).substr(at, end - at)));
  return cells;
}

// The rows of the table in docs/formats.md whose first cell holds keys, by key. "| `A`, `B` | 1, TRUE | text
// |"
std::map<std::string, Described> describedSettings() {
  std::ifstream file(VORNELLE_FORMATS_DOCUMENT, std::ios::binary);
  EXPECT_TRUE(file);
  const std::string text{std::istreambuf_iterator<char>(file), {}};
  const std::size_t start = text.find("## Settings: `Vornelle.ini`");
  EXPECT_NE(start, std::string::npos);
  std::map<std::string, Described> described;
  for (const std::string& line : splitLines(text.substr(start, text.find("\n## ", start + 1) - start))) {
    if (!line.starts_with("| `")) continue;
    const std::vector<std::string> cells = cellsOf(line);
    EXPECT_EQ(cells.size(), 3u) << line;
    const std::regex key("`([A-Z_]+)`");
    std::string defaults = cells.at(1) + ", ";
    for (std::sregex_iterator it(cells[0].begin(), cells[0].end(), key), end; it != end; ++it) {
      const std::size_t comma = defaults.find(", ");
      described[(*it)[1]] = {defaults.substr(0, comma), cells.at(2)};
      if (comma != std::string::npos) defaults.erase(0, comma + 2);
    }
  }
  return described;
}

TEST_F(SettingsTable, TheDocumentHasARowForEachKeyWithItsDefaultAndItsRange) {
  std::map<std::string, Described> described = describedSettings();
  for (const Setting& setting : allSettings()) {
    const std::string key(setting.key);
    ASSERT_EQ(described.count(key), 1u) << key << " is not in docs/formats.md";
    EXPECT_EQ(described[key].defaultValue, settingText(setting, Settings{})) << key;
    if (setting.check) {
      const std::string range =
          std::to_string(setting.check("-1")) + " to " + std::to_string(setting.check("99999"));
      EXPECT_THAT(described[key].meaning, HasSubstr(range)) << key;
    }
    described.erase(key);
  }
  for (const auto& [key, meaning] : described) ADD_FAILURE() << key << " is in docs/formats.md and is no key";
}

TEST_F(SettingsTable, NoTwoSettingsShareAKeyAFieldOrAPlace) {
  std::set<std::string> keys, fields;
  std::set<int> onPage, inDialog;
  for (const Setting& setting : allSettings()) {
    EXPECT_TRUE(keys.emplace(setting.key).second) << setting.key;
    if (setting.pagePlace != 0) {
      EXPECT_TRUE(onPage.insert(setting.pagePlace).second) << setting.key;
      EXPECT_TRUE(fields.emplace(setting.field).second) << setting.key;
    }
    if (setting.dialogPlace != 0) {
      EXPECT_TRUE(inDialog.insert(setting.dialogPlace).second) << setting.key;
    }
  }
  EXPECT_EQ(settingsOnPage().size(), onPage.size());
  EXPECT_EQ(settingsInDialog().size(), inDialog.size());
}

TEST_F(SettingsTable, WhatAKindNeedsIsThere) {
  for (const Setting& setting : allSettings()) {
    EXPECT_EQ(setting.check != nullptr, setting.kind == SettingKind::range) << setting.key;
    EXPECT_EQ(setting.box != nullptr, setting.kind == SettingKind::windowSwitch) << setting.key;
  }
}

TEST_F(SettingsTable, TheLongestKeyThatBeginsALineTakesIt) {
  takeSettingsLine("MAX_LINK_SIZE_ON=FALSE");
  EXPECT_FALSE(settings.MAX_LINK_SIZE_ON);
  EXPECT_EQ(settings.MAX_LINK_SIZE, 150);
  takeSettingsLine("MAX_LINK_SIZE_O=33");
  EXPECT_EQ(settings.MAX_LINK_SIZE, 33);
}

TEST_F(SettingsTable, ThePageShowsItsFieldsInTheOrderInWhichTheirMarkersAreFilled) {
  std::string order;
  for (const Setting* setting : settingsOnPage()) order += std::string(setting->field) + " ";
  EXPECT_EQ(
      order,
      "ACTIVE TEST_MODE NEW_WINDOW MAX_LINK_SIZE_ON HTTP_PORT_CFG CHECK_MIN SESSION_MIN EMAIL_ADDRESS "
      "POP_SERVER POP_ACCOUNT POP_PASSWORD SMTP_SERVER SMTP_USER SMTP_PASSWORD MAX_SPAM_SIZE MAX_LINK_SIZE "
      "MESSAGES_PER_PAGE ");
}

TEST_F(SettingsTable, DefaultsComeBackForEveryKey) {
  for (const Setting& setting : allSettings()) {
    if (setting.isCheckBox()) setFlag(setting, !isOn(setting));
  }
  settings.POP_PASSWORD = "secret";
  settings.CHECK_MIN = 11;
  settings.httpPort = 8000;
  setDefaults();
  for (const Setting& setting : allSettings())
    EXPECT_EQ(settingText(setting), settingText(setting, Settings{})) << setting.key;
  EXPECT_EQ(settings.httpPort, 8000);
}

}  // namespace
}  // namespace vornelle
