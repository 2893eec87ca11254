#include "platform/clock.h"

#include <windows.h>

#include "platform/win32/text.h"

namespace vornelle {
namespace {

constexpr std::int64_t kTicksPerSecond = 10'000'000;  // FILETIME counts 100 ns
constexpr std::int64_t kSecondsFrom1601To1970 = 11'644'473'600;

FILETIME toFileTime(std::int64_t utcSeconds) {
  const auto ticks = static_cast<std::uint64_t>((utcSeconds + kSecondsFrom1601To1970) * kTicksPerSecond);
  return {static_cast<DWORD>(ticks & 0xFFFFFFFF), static_cast<DWORD>(ticks >> 32)};
}

}  // namespace

std::int64_t utcNow() {
  FILETIME now;
  GetSystemTimePreciseAsFileTime(&now);
  const std::int64_t ticks = static_cast<std::int64_t>(now.dwHighDateTime) << 32 | now.dwLowDateTime;
  return ticks / kTicksPerSecond - kSecondsFrom1601To1970;
}

LocalTime toLocalTime(std::int64_t utcSeconds) {
  const FILETIME fileTime = toFileTime(utcSeconds);
  SYSTEMTIME utc;
  SYSTEMTIME local;
  // With the rules of the date itself: summer time in summer, whatever is in force today.
  if (!FileTimeToSystemTime(&fileTime, &utc) || !SystemTimeToTzSpecificLocalTime(nullptr, &utc, &local))
    return {};
  return {local.wYear, local.wMonth, local.wDay, local.wHour, local.wMinute, local.wSecond};
}

std::int64_t monotonicMilliseconds() {
  // GetTickCount64() goes forward in steps of 16 milliseconds.
  static const std::int64_t frequency = [] {
    LARGE_INTEGER perSecond;
    QueryPerformanceFrequency(&perSecond);
    return perSecond.QuadPart;
  }();
  LARGE_INTEGER count;
  QueryPerformanceCounter(&count);
  return count.QuadPart / frequency * 1000 + count.QuadPart % frequency * 1000 / frequency;
}

std::string amPmDesignator(bool afternoon) {
  wchar_t text[16];
  const int size = GetLocaleInfoW(LOCALE_USER_DEFAULT, afternoon ? LOCALE_S2359 : LOCALE_S1159, text, 16);
  if (size > 1) return win32::typedText({text, static_cast<std::size_t>(size - 1)});
  return afternoon ? "PM" : "AM";
}

}  // namespace vornelle
