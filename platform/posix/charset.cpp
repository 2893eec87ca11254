#include "platform/charset.h"

#include <langinfo.h>
#include <locale.h>

namespace vornelle {

std::string localCharset() {
  std::string name;
  if (const locale_t user = newlocale(LC_CTYPE_MASK, "", nullptr)) {
    name = nl_langinfo_l(CODESET, user);
    freelocale(user);
  }
  // The plain locale of a machine that nobody has set up says nothing about its files.
  return name.empty() || name.starts_with("ANSI_X3") ? "windows-1252" : name;
}

}  // namespace vornelle
