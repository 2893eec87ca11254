// The table of settings: what core/settings.def says about each, and what the kinds of values mean wherever
// one is read, shown or taken from somebody.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "core/form1.h"
#include "core/settings.h"

namespace vornelle {

enum class SettingKind {
  text,          // as it stands
  secret,        // a text that is shown as asterisks; what comes back with one in it changes nothing
  port,          // a text; settings.httpPort is its number from when it is read from the file
  range,         // a 16-bit number, brought into its range by `check`
  count,         // any 16-bit number
  flag,          // on or off
  windowSwitch,  // on or off; a check box of the main window shows what holds, and that is what is saved
};

struct Setting {
  std::string_view key;  // in the settings file, letter case ignored
  SettingKind kind;
  std::variant<std::string Settings::*, std::int16_t Settings::*, bool Settings::*> member;

  std::int16_t (*check)(std::string_view text) = nullptr;
  CheckBox Form1::*box = nullptr;

  int pagePlace = 0;             // among the fields of the settings page; 0: it has none
  std::string_view field = key;  // name of its marker and its field there

  int dialogPlace = 0;  // among the rows of the settings dialog; 0: it has none
  const char* label = "";
  const char* toolTip = "";
  const char* unit = "";        // text behind the box
  bool besideRowAbove = false;  // a check box on the same line, with the label as its caption
  char accessKey = 0;           // with Alt

  [[nodiscard]] bool isCheckBox() const {
    return kind == SettingKind::flag || kind == SettingKind::windowSwitch;
  }
};

// In the order of the file, of the settings page, of the dialog.
[[nodiscard]] const std::vector<Setting>& allSettings();
[[nodiscard]] const std::vector<const Setting*>& settingsOnPage();
[[nodiscard]] const std::vector<const Setting*>& settingsInDialog();

// The value as it is written: "TRUE" and "FALSE", decimal numbers, texts as they are, passwords in the clear.
[[nodiscard]] std::string settingText(const Setting& setting, const Settings& record = settings);

// The same as a user may see it: passwords as asterisks.
[[nodiscard]] std::string shownText(const Setting& setting);

// Whether it is on: the record's flag, or the check box of the main window.
[[nodiscard]] bool isOn(const Setting& setting);

void setFlag(const Setting& setting, bool on);  // the record's; a switch of the window stays as it is

// What is typed into a box or a field, all but check boxes. What `check` makes of it where there is one; any
// other number is rounded. A text that is no 16-bit number leaves such a setting as it was, as an asterisk
// leaves a password.
void takeTyped(const Setting& setting, const std::string& text);

// "HTTP Port takes a whole number, for example 7000." where the dialog must not take the text for this
// setting; nullopt: it may.
[[nodiscard]] std::optional<std::string> refusalOf(const Setting& setting, std::string_view text);

// A line of the settings file. The key that begins the line takes it, the longest of them where several do; a
// line that begins with none is passed over.
void takeSettingsLine(std::string_view line);

// The whole record back to its defaults, but for what no key holds.
void setDefaults();

}  // namespace vornelle
