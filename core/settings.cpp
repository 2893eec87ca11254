#include "core/settings.h"

#include <algorithm>

#include "base/module_state.h"
#include "base/numbers.h"
#include "base/text.h"
#include "core/form1.h"
#include "core/settings_table.h"
#include "platform/files.h"
#include "platform/modSpecialFolders.h"

namespace vornelle {

Settings settings;

namespace {

const ModuleState settingsState([] { settings = {}; });

constexpr std::int16_t kSizeMinimum = 10;
constexpr std::int16_t kSizeMaximum = 30000;

// A developer's override wins while it exists, for reading and for writing alike.
std::string settingsPath() {
  const std::string overridePath = applicationFolder() + "\\pell-Vornelle.ini";
  return fileExists(overridePath) ? overridePath : applicationFolder() + "\\Vornelle.ini";
}

// The interval is a 16-bit product. Above 32 minutes it overflows and the timer keeps the interval that it
// has: the timers only decide how often the minute counters are looked at, so the schedule is the same.
void armTimer(Timer& timer, std::int16_t minutes) {
  const std::optional<std::int16_t> interval = multiply16(minutes, 1000);
  if (interval) timer.setInterval(*interval);
}

void armTimers() {
  armTimer(form1.Timer1, settings.CHECK_MIN);
  armTimer(form1.Timer2, settings.SESSION_MIN);
}

// A value with a line break cannot be stored; it ends there, so that it never makes lines of its own.
std::string settingLine(std::string_view key, std::string_view value) {
  const std::string_view firstLine = value.substr(0, value.find_first_of(kCrLf));
  return std::string(key) + "=" + std::string(trim(firstLine)) + std::string(kCrLf);
}

std::int16_t clampToRange(std::string_view text, std::int16_t minimum, std::int16_t maximum) {
  const double value = val(text);
  if (value < minimum) return minimum;
  if (value > maximum) return maximum;
  return toInt16(value).value_or(minimum);
}

}  // namespace

void assignConstants() {
  settings.CHECK_MIN_minimum = 10;
  settings.CHECK_MIN_maximum = 60;
  settings.SESSION_MIN_minimum = 10;
  settings.SESSION_MIN_maximum = 60;
  settings.httpPort = 7000;
  settings.mailTimeoutSeconds = 30;
  settings.deletePrefix = kDeletePrefix;
  settings.restorePrefix = kRestorePrefix;
}

void configLoad() {
  setDefaults();
  const std::string path = settingsPath();
  const bool exists = fileExists(path);
  const std::optional<std::string> text = exists ? readFile(path) : std::nullopt;
  for (const std::string& line : splitLines(text.value_or(""))) takeSettingsLine(line);
  armTimers();
  for (const Setting& setting : allSettings()) {
    if (setting.box) (form1.*setting.box).setChecked(settingText(setting) == "TRUE");
  }
  form1.ckAutostart.setChecked(startupLinkExists());
  // Only now: the handlers above let events in, and an end among them would save switches that are not set
  // yet.
  form1.settingsUnread = exists && !text;
}

void configSave() {
  armTimers();
  form1.minutesSinceCheck = 0;
  form1.sessionMinutesUsed = 0;
  form1.settingsUnread = false;  // what is saved here is what the user wants from now on

  std::string lines;
  for (const Setting& setting : allSettings()) {
    // The switches are saved as the user sees them, whatever the record says.
    const bool isSwitch = setting.kind == SettingKind::windowSwitch;
    lines += settingLine(setting.key, isSwitch ? (isOn(setting) ? "TRUE" : "FALSE") : settingText(setting));
  }
  static_cast<void>(writeFile(settingsPath(), lines));  // a failed save is silent; the old file stands
}

std::int16_t configCkCHECK_MIN(std::string_view text) {
  return clampToRange(text, settings.CHECK_MIN_minimum, settings.CHECK_MIN_maximum);
}

std::int16_t configCkSESSION_MIN(std::string_view text) {
  return clampToRange(text, settings.SESSION_MIN_minimum, settings.SESSION_MIN_maximum);
}

std::int16_t configCkMAX_SPAM_SIZE(std::string_view text) {
  return clampToRange(text, kSizeMinimum, kSizeMaximum);
}

std::int16_t configCkMAX_LINK_SIZE(std::string_view text) {
  return clampToRange(text, kSizeMinimum, kSizeMaximum);
}

std::string bytes2KB(double bytes) {
  // The divisor is 1048 and stays so: sizes on the pages must agree with the filter's limit.
  const double kilobytes = roundHalfEven(bytes / 1048);
  return std::to_string(static_cast<long long>(kilobytes == 0 ? 1 : kilobytes)) + "K";
}

std::string passwordMask(std::string_view password) {
  constexpr std::size_t kLongest = INT16_MAX;  // the length is a 16-bit count
  return std::string(std::min(password.size(), kLongest), '*');
}

std::string startupLinkPath() {
  const std::string folder = getSpecialFolder(kStartupFolder);
  return folder.empty() ? "" : folder + "vornelle.lnk";
}

bool startupLinkExists() {
  const std::string path = startupLinkPath();
  return !path.empty() && fileExists(path);
}

}  // namespace vornelle
