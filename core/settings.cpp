#include "core/settings.h"

#include <algorithm>
#include <cmath>

#include "base/numbers.h"
#include "base/text.h"
#include "core/form1.h"
#include "platform/files.h"
#include "platform/modSpecialFolders.h"

namespace vornelle {

Settings settings;

namespace {

constexpr std::int16_t kSizeMinimum = 10;
constexpr std::int16_t kSizeMaximum = 30000;
constexpr int kStartupFolderId = 7;

// A developer's override wins while it exists, for reading and for writing alike.
std::string settingsPath() {
  const std::string overridePath = applicationFolder() + "\\pell-Vornelle.ini";
  return fileExists(overridePath) ? overridePath : applicationFolder() + "\\Vornelle.ini";
}

void setDefaults() {
  const Settings defaults;
  // Everything the file can hold; httpPort and start-up's constants stay.
  settings.EMAIL_ADDRESS = defaults.EMAIL_ADDRESS;
  settings.SMTP_SERVER = defaults.SMTP_SERVER;
  settings.SMTP_USER = defaults.SMTP_USER;
  settings.SMTP_PASSWORD = defaults.SMTP_PASSWORD;
  settings.POP_SERVER = defaults.POP_SERVER;
  settings.POP_ACCOUNT = defaults.POP_ACCOUNT;
  settings.POP_PASSWORD = defaults.POP_PASSWORD;
  settings.HTTP_PORT_CFG = defaults.HTTP_PORT_CFG;
  settings.CHECK_MIN = defaults.CHECK_MIN;
  settings.SESSION_MIN = defaults.SESSION_MIN;
  settings.MAX_SPAM_SIZE = defaults.MAX_SPAM_SIZE;
  settings.MAX_LINK_SIZE = defaults.MAX_LINK_SIZE;
  settings.MAX_LINK_SIZE_ON = defaults.MAX_LINK_SIZE_ON;
  settings.MESSAGES_PER_PAGE = defaults.MESSAGES_PER_PAGE;
  settings.NEW_WINDOW = defaults.NEW_WINDOW;
  settings.ACTIVATE_START = defaults.ACTIVATE_START;
  settings.START_MINIMIZED = defaults.START_MINIMIZED;
  settings.TEST_MODE = defaults.TEST_MODE;
}

// Everything after the first "="; the whole line when there is none.
std::string_view textAfterEquals(std::string_view line) {
  const std::size_t equals = line.find('=');
  return equals == std::string_view::npos ? line : line.substr(equals + 1);
}

void takeMessagesPerPage(std::string_view text) {
  const std::optional<double> number = toNumber(text);
  if (!number) return;
  const std::optional<std::int16_t> rows = toInt16(std::floor(*number));
  if (rows) settings.MESSAGES_PER_PAGE = *rows;
}

// Keys are matched as the start of the line, in this order; the first one takes it. MAX_LINK_SIZE_ON begins
// with MAX_LINK_SIZE and must come before it.
void takeLine(std::string_view line) {
  const std::string_view rawValue = textAfterEquals(line);
  const std::string value(trim(rawValue));
  const auto key = [line](std::string_view name) { return startsWithNoCase(line, name); };
  const auto isTrue = [line] { return containsNoCase(line, "TRUE"); };

  if (key("EMAIL_ADDRESS")) {
    settings.EMAIL_ADDRESS = value;
  } else if (key("SMTP_SERVER")) {
    settings.SMTP_SERVER = value;
  } else if (key("SMTP_USER")) {
    settings.SMTP_USER = value;
  } else if (key("SMTP_PASSWORD")) {
    settings.SMTP_PASSWORD = value;
  } else if (key("POP_SERVER")) {
    settings.POP_SERVER = value;
  } else if (key("POP_ACCOUNT")) {
    settings.POP_ACCOUNT = value;
  } else if (key("POP_PASSWORD")) {
    settings.POP_PASSWORD = value;
  } else if (key("HTTP_PORT_CFG")) {
    settings.HTTP_PORT_CFG = value;
    settings.httpPort = toInt32(value).value_or(settings.httpPort);
  } else if (key("CHECK_MIN")) {
    settings.CHECK_MIN = configCkCHECK_MIN(value);
  } else if (key("SESSION_MIN")) {
    settings.SESSION_MIN = configCkSESSION_MIN(value);
  } else if (key("MAX_SPAM_SIZE")) {
    settings.MAX_SPAM_SIZE = configCkMAX_SPAM_SIZE(value);
  } else if (key("MAX_LINK_SIZE_ON")) {
    settings.MAX_LINK_SIZE_ON = isTrue();
  } else if (key("MAX_LINK_SIZE")) {
    settings.MAX_LINK_SIZE = configCkMAX_LINK_SIZE(value);
  } else if (key("MESSAGES_PER_PAGE")) {
    takeMessagesPerPage(rawValue);
  } else if (key("NEW_WINDOW")) {
    settings.NEW_WINDOW = isTrue();
  } else if (key("ACTIVATE_START")) {
    settings.ACTIVATE_START = isTrue();
  } else if (key("START_MINIMIZED")) {
    settings.START_MINIMIZED = isTrue();
  } else if (key("TEST_MODE")) {
    settings.TEST_MODE = isTrue();
  }
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

std::string numberLine(std::string_view key, int value) {
  return settingLine(key, std::to_string(value));
}

std::string booleanLine(std::string_view key, bool value) {
  return settingLine(key, value ? "TRUE" : "FALSE");
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
  for (const std::string& line : splitLines(text.value_or(""))) takeLine(line);
  armTimers();
  form1.ckActive.setChecked(settings.ACTIVATE_START);
  form1.ckStartMinimized.setChecked(settings.START_MINIMIZED);
  form1.ckTestMode.setChecked(settings.TEST_MODE);
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
  lines += settingLine("EMAIL_ADDRESS", settings.EMAIL_ADDRESS);
  lines += settingLine("SMTP_SERVER", settings.SMTP_SERVER);
  lines += settingLine("SMTP_USER", settings.SMTP_USER);
  lines += settingLine("SMTP_PASSWORD", settings.SMTP_PASSWORD);
  lines += settingLine("POP_SERVER", settings.POP_SERVER);
  lines += settingLine("POP_ACCOUNT", settings.POP_ACCOUNT);
  lines += settingLine("POP_PASSWORD", settings.POP_PASSWORD);
  lines += settingLine("HTTP_PORT_CFG", settings.HTTP_PORT_CFG);
  lines += numberLine("CHECK_MIN", settings.CHECK_MIN);
  lines += numberLine("SESSION_MIN", settings.SESSION_MIN);
  lines += numberLine("MAX_SPAM_SIZE", settings.MAX_SPAM_SIZE);
  lines += numberLine("MAX_LINK_SIZE", settings.MAX_LINK_SIZE);
  lines += numberLine("MESSAGES_PER_PAGE", settings.MESSAGES_PER_PAGE);
  lines += booleanLine("NEW_WINDOW", settings.NEW_WINDOW);
  lines += booleanLine("MAX_LINK_SIZE_ON", settings.MAX_LINK_SIZE_ON);
  // The switches are saved as the user sees them, whatever the record says.
  lines += booleanLine("ACTIVATE_START", form1.ckActive.checked());
  lines += booleanLine("START_MINIMIZED", form1.ckStartMinimized.checked());
  lines += booleanLine("TEST_MODE", form1.ckTestMode.checked());
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
  const std::string folder = getSpecialFolder(kStartupFolderId);
  return folder.empty() ? "" : folder + "vornelle.lnk";
}

bool startupLinkExists() {
  const std::string path = startupLinkPath();
  return !path.empty() && fileExists(path);
}

}  // namespace vornelle
