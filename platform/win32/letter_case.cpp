#include "platform/letter_case.h"

#include <windows.h>

namespace vornelle {
namespace {

char32_t mapped(char32_t code, DWORD how) {
  wchar_t units[2] = {static_cast<wchar_t>(code), 0};
  int count = 1;
  if (code >= 0x10000) {
    units[0] = static_cast<wchar_t>(0xD800 + ((code - 0x10000) >> 10));
    units[1] = static_cast<wchar_t>(0xDC00 + ((code - 0x10000) & 0x3FF));
    count = 2;
  }
  wchar_t result[2] = {};
  if (LCMapStringEx(LOCALE_NAME_INVARIANT, how, units, count, result, count, nullptr, nullptr, 0) != count)
    return code;
  if (count == 1) return static_cast<char32_t>(result[0]);
  return 0x10000 + ((static_cast<char32_t>(result[0]) - 0xD800) << 10) +
         (static_cast<char32_t>(result[1]) - 0xDC00);
}

}  // namespace

char32_t systemSmallLetter(char32_t code) {
  return mapped(code, LCMAP_LOWERCASE);
}

char32_t systemCapitalLetter(char32_t code) {
  return mapped(code, LCMAP_UPPERCASE);
}

}  // namespace vornelle
