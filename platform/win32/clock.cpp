#include "platform/clock.h"

#include <windows.h>

#include "platform/win32/file_time.h"
#include "platform/win32/text.h"

namespace vornelle {

std::int64_t utcNow() {
  FILETIME now;
  GetSystemTimePreciseAsFileTime(&now);
  return win32::millisecondsSince1970(now) / 1000;
}

LocalTime toLocalTime(std::int64_t utcSeconds) {
  const FILETIME time = win32::fileTime(utcSeconds * 1000);
  SYSTEMTIME utc;
  SYSTEMTIME local;
  // With the rules of the date itself: summer time in summer, whatever is in force today.
  if (!FileTimeToSystemTime(&time, &utc) || !SystemTimeToTzSpecificLocalTime(nullptr, &utc, &local))
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
