#include "platform/common/system_code_page.h"

#include <windows.h>

#include <string>

namespace vornelle {

SystemCodePage::SystemCodePage(int number)
    : number_(IsValidCodePage(static_cast<UINT>(number)) ? number : 0) {}

SystemCodePage::~SystemCodePage() = default;

bool SystemCodePage::known() const {
  return number_ != 0;
}

std::optional<char16_t> SystemCodePage::character(std::string_view bytes) const {
  wchar_t units[4];
  const int count =
      MultiByteToWideChar(static_cast<UINT>(number_), MB_ERR_INVALID_CHARS, bytes.data(),
                          static_cast<int>(bytes.size()), units, static_cast<int>(std::size(units)));
  if (count != 1) return std::nullopt;
  return static_cast<char16_t>(units[0]);
}

}  // namespace vornelle
