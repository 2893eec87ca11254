#include "platform/letter_case.h"

#include <windows.h>

#include <string>

#include "platform/win32/text.h"

namespace vornelle {
namespace {

char32_t mapped(char32_t code, DWORD how) {
  std::wstring letter;
  win32::appendWide(letter, code);
  const int size = static_cast<int>(letter.size());
  std::wstring other(letter.size(), L'\0');
  if (LCMapStringEx(LOCALE_NAME_INVARIANT, how, letter.data(), size, other.data(), size, nullptr, nullptr,
                    0) != size)
    return code;
  const std::u32string found = win32::charactersOf(other);
  return found.size() == 1 ? found.front() : code;
}

}  // namespace

char32_t systemSmallLetter(char32_t code) {
  return mapped(code, LCMAP_LOWERCASE);
}

char32_t systemCapitalLetter(char32_t code) {
  return mapped(code, LCMAP_UPPERCASE);
}

}  // namespace vornelle
