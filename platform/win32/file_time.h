// The system's times: units of 100 nanoseconds since 1601, in two halves.
#pragma once

#include <windows.h>

#include <cstdint>

namespace vornelle::win32 {

inline constexpr std::int64_t kTicksPerMillisecond = 10'000;
inline constexpr std::int64_t kMillisecondsFrom1601To1970 = 11'644'473'600'000;

// Both count from 1970-01-01 UTC on.
[[nodiscard]] inline std::int64_t millisecondsSince1970(const FILETIME& time) {
  const std::int64_t ticks = static_cast<std::int64_t>(time.dwHighDateTime) << 32 | time.dwLowDateTime;
  return ticks / kTicksPerMillisecond - kMillisecondsFrom1601To1970;
}
[[nodiscard]] inline FILETIME fileTime(std::int64_t milliseconds) {
  const auto ticks =
      static_cast<std::uint64_t>((milliseconds + kMillisecondsFrom1601To1970) * kTicksPerMillisecond);
  return {static_cast<DWORD>(ticks & 0xFFFFFFFF), static_cast<DWORD>(ticks >> 32)};
}

}  // namespace vornelle::win32
