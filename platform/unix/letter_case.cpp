#include "platform/letter_case.h"

#include <locale.h>
#include <wctype.h>

namespace vornelle {
namespace {

// Null where the system has no locale of that name; then letters beyond ASCII have no case.
locale_t unicodeLocale() {
  static const locale_t locale = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
  return locale;
}

}  // namespace

char32_t systemSmallLetter(char32_t code) {
  const locale_t locale = unicodeLocale();
  return locale ? static_cast<char32_t>(towlower_l(static_cast<wint_t>(code), locale)) : code;
}

char32_t systemCapitalLetter(char32_t code) {
  const locale_t locale = unicodeLocale();
  return locale ? static_cast<char32_t>(towupper_l(static_cast<wint_t>(code), locale)) : code;
}

}  // namespace vornelle
