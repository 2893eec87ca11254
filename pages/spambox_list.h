// The SpamBox listing: the messages saved in the spam folder, the most recently saved one first.
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

// Back to the state before the first scan. For tests.
void spamboxClear();

}  // namespace vornelle
