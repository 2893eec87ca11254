// The SpamBox: the listing of the messages saved in the spam folder, the most recently saved one first, and
// the page that shows it.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace vornelle {

// Scans the folder and parses the header of every file; lets pending events be served before and after each
// of them. False, and the listing is as it was, when the folder holds more than 10,001 files.
[[nodiscard]] bool spamboxList();

[[nodiscard]] std::int16_t spamboxCount();

// A field of the message at the index; nullopt below 0 and above 10000.
[[nodiscard]] std::optional<std::string> spamboxKey(std::int16_t index);
[[nodiscard]] std::optional<std::string> spamboxFrom(std::int16_t index);
[[nodiscard]] std::optional<std::string> spamboxDate(std::int16_t index);
[[nodiscard]] std::optional<std::string> spamboxSubject(std::int16_t index);
[[nodiscard]] std::optional<std::string> spamboxSize(std::int16_t index);  // bytes, decimal

// One screenful of the listing as rows of data\spambox.htm. The page starts at the given row; -1 makes the
// listing anew first and starts at row 0. On return `first` is the row that the page starts at. Lets pending
// events be served once for each row.
[[nodiscard]] std::string pageSpamBox(std::int16_t& first);

}  // namespace vornelle
