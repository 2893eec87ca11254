// The Date field: RFC 5322 with its obsolete forms, and what old programs write instead.
//
//   Sun, 15 Nov 2026 01:55:00 +0100     day name optional, seconds optional, comments anywhere
//   15 Nov 26 01:55 EST                 two- and three-digit years, named zones
//   Sun Nov 15 01:55:00 2026            the form of asctime
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace vornelle {

// Seconds since 1970-01-01 UTC; nullopt when it cannot be read as a time that exists. A missing or unknown
// zone is UTC.
[[nodiscard]] std::optional<std::int64_t> parseMailDate(std::string_view text);

}  // namespace vornelle
