// The settings record and its file: a line KEY=VALUE for each row of core/settings.def, in "\Vornelle.ini"
// beside the program, or in "\pell-Vornelle.ini" where a file of that name exists.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace vornelle {

// The name prefixes of the delete and restore boxes on the pages. Start-up puts them into the record.
inline constexpr std::string_view kDeletePrefix = "D";
inline constexpr std::string_view kRestorePrefix = "R";

// What the values of each kind of setting are held in.
namespace setting_value {
using text = std::string;
using secret = std::string;
using port = std::string;
using range = std::int16_t;
using count = std::int16_t;
using flag = bool;
using windowSwitch = bool;
}  // namespace setting_value

struct Settings {
  // Named after their keys in the file, with their defaults: minutes, KB (of 1048 bytes), texts. POP_SERVER
  // and SMTP_SERVER are a host or host:port.
#define SETTING(kind, key, initial, ...) setting_value::kind key = initial;
#include "core/settings.def"
#undef SETTING

  std::int32_t httpPort = 0;  // the listening port; start-up sets 7000 before loading

  // Bounds and constants that start-up assigns.
  std::int16_t CHECK_MIN_minimum = 0, CHECK_MIN_maximum = 0;
  std::int16_t SESSION_MIN_minimum = 0, SESSION_MIN_maximum = 0;
  std::int16_t mailTimeoutSeconds = 0;
  std::string deletePrefix;   // name prefix of the delete boxes on the pages
  std::string restorePrefix;  // name prefix of the restore boxes
};

extern Settings settings;

// What start-up sets before it loads the settings: bounds 10 and 60, port 7000, mail time-out 30 seconds,
// prefixes "D" and "R".
void assignConstants();

// Resets the record to its defaults, reads the file when there is one, arms the timers, sets the window's
// switches (whose click handlers run). form1.settingsUnread tells a file that could not be read.
void configLoad();

// Rewrites the file from the record and the window's switches, arms the timers and sets both minute counters
// to 0. A file that cannot be written stays as it was, without a word.
void configSave();

// The number at the start of the text, clamped into the range and rounded (halves to even).
[[nodiscard]] std::int16_t configCkCHECK_MIN(std::string_view text);
[[nodiscard]] std::int16_t configCkSESSION_MIN(std::string_view text);
[[nodiscard]] std::int16_t configCkMAX_SPAM_SIZE(std::string_view text);
[[nodiscard]] std::int16_t configCkMAX_LINK_SIZE(std::string_view text);

// A size for display, in KB: 150000 gives "143K"; never "0K".
[[nodiscard]] std::string bytes2KB(double bytes);

// One "*" for each character, 32767 at the most.
[[nodiscard]] std::string passwordMask(std::string_view password);

// The path of the start-up shortcut, "vornelle.lnk" in the user's Startup folder; "" when there is no such
// folder.
[[nodiscard]] std::string startupLinkPath();
[[nodiscard]] bool startupLinkExists();

}  // namespace vornelle
