#include "core/settings_table.h"

#include <algorithm>
#include <cmath>
#include <type_traits>

#include "base/numbers.h"
#include "base/text.h"

namespace vornelle {
namespace {

std::vector<const Setting*> inOrder(int Setting::*place) {
  std::vector<const Setting*> chosen;
  for (const Setting& setting : allSettings()) {
    if (setting.*place != 0) chosen.push_back(&setting);
  }
  std::ranges::sort(chosen, {}, [place](const Setting* setting) { return setting->*place; });
  return chosen;
}

template <typename Value>
[[nodiscard]] Value& valueOf(const Setting& setting) {
  return settings.*std::get<Value Settings::*>(setting.member);
}

// Everything after the first "="; the whole line when there is none.
std::string_view textAfterEquals(std::string_view line) {
  const std::size_t equals = line.find('=');
  return equals == std::string_view::npos ? line : line.substr(equals + 1);
}

// The file's whole numbers are rounded down, unlike those that are typed.
std::optional<std::int16_t> countInFile(std::string_view text) {
  const std::optional<double> number = toNumber(text);
  return number ? toInt16(std::floor(*number)) : std::nullopt;
}

}  // namespace

const std::vector<Setting>& allSettings() {
  static const std::vector<Setting> settingsByLine = {
#define SETTING(ofKind, name, initial, ...) \
  {.key = #name, .kind = SettingKind::ofKind, .member = &Settings::name, __VA_ARGS__},
#include "core/settings.def"
#undef SETTING
  };
  return settingsByLine;
}

const std::vector<const Setting*>& settingsOnPage() {
  static const std::vector<const Setting*> fields = inOrder(&Setting::pagePlace);
  return fields;
}

const std::vector<const Setting*>& settingsInDialog() {
  static const std::vector<const Setting*> rows = inOrder(&Setting::dialogPlace);
  return rows;
}

std::string settingText(const Setting& setting, const Settings& record) {
  const auto text = [&record](const auto& member) -> std::string {
    const auto& value = record.*member;
    if constexpr (std::is_same_v<decltype(value), const std::string&>) {
      return value;
    } else if constexpr (std::is_same_v<decltype(value), const bool&>) {
      return value ? "TRUE" : "FALSE";
    } else {
      return std::to_string(value);
    }
  };
  return std::visit(text, setting.member);
}

std::string shownText(const Setting& setting) {
  const std::string text = settingText(setting);
  return setting.kind == SettingKind::secret ? passwordMask(text) : text;
}

bool isOn(const Setting& setting) {
  return setting.box ? (form1.*setting.box).checked() : valueOf<bool>(setting);
}

void setFlag(const Setting& setting, bool on) {
  valueOf<bool>(setting) = on;
}

void takeTyped(const Setting& setting, const std::string& text) {
  switch (setting.kind) {
    case SettingKind::text:
    case SettingKind::port:
      valueOf<std::string>(setting) = text;
      break;
    case SettingKind::secret:
      if (text.find('*') == std::string::npos) valueOf<std::string>(setting) = text;
      break;
    case SettingKind::range:
      valueOf<std::int16_t>(setting) = setting.check(text);
      break;
    case SettingKind::count: {
      std::int16_t& number = valueOf<std::int16_t>(setting);
      number = toInt16(text).value_or(number);
      break;
    }
    case SettingKind::flag:
    case SettingKind::windowSwitch:
      break;
  }
}

std::optional<std::string> refusalOf(const Setting& setting, std::string_view text) {
  const char* most = "";
  if (setting.kind == SettingKind::port) {
    if (toInt32(text)) return std::nullopt;
  } else if (setting.kind == SettingKind::count) {
    if (toInt16(text)) return std::nullopt;
    most = " up to 32767";
  } else {
    return std::nullopt;
  }
  std::string name = setting.label;
  if (name.ends_with(':')) name.pop_back();
  return name + " takes a whole number" + most + ", for example " + settingText(setting, Settings{}) + ".";
}

void takeSettingsLine(std::string_view line) {
  const Setting* setting = nullptr;
  for (const Setting& one : allSettings()) {
    if (startsWithNoCase(line, one.key) && (!setting || one.key.size() > setting->key.size())) setting = &one;
  }
  if (!setting) return;
  const std::string_view value = textAfterEquals(line);
  switch (setting->kind) {
    case SettingKind::text:
    case SettingKind::secret:
      valueOf<std::string>(*setting) = trim(value);
      break;
    case SettingKind::port:
      valueOf<std::string>(*setting) = trim(value);
      settings.httpPort = toInt32(trim(value)).value_or(settings.httpPort);
      break;
    case SettingKind::range:
      valueOf<std::int16_t>(*setting) = setting->check(trim(value));
      break;
    case SettingKind::count: {
      std::int16_t& number = valueOf<std::int16_t>(*setting);
      number = countInFile(value).value_or(number);
      break;
    }
    case SettingKind::flag:
    case SettingKind::windowSwitch:
      valueOf<bool>(*setting) = containsNoCase(line, "TRUE");
      break;
  }
}

void setDefaults() {
  const Settings defaults;
  for (const Setting& setting : allSettings()) {
    std::visit([&defaults](const auto& member) { settings.*member = defaults.*member; }, setting.member);
  }
}

}  // namespace vornelle
