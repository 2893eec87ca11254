// The event log: the log box of the main window and the file "\Vornelle.log" beside the program.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace vornelle {

// Stamps the text with the local time, cuts session ids out of it, shows it in the log box, lets pending
// events be served and appends it to the log file; where that cannot be written the line is in the box alone.
void LogWindowAdd(std::string_view text);

// "11-15-26 01:55 AM": month, day, two-digit year, 12-hour clock, of the local time.
[[nodiscard]] std::string formatLogTime(std::int64_t utcSeconds);

}  // namespace vornelle
