#include "platform/charset.h"

#include <windows.h>

namespace vornelle {

std::string localCharset() {
  const UINT number = GetACP();
  return number == CP_UTF8 ? "utf-8" : "cp" + std::to_string(number);
}

}  // namespace vornelle
