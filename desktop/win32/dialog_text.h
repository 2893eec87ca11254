// Texts of controls as the program's 8-bit text.
#pragma once

#include <windows.h>

#include <string>

#include "platform/win32/text.h"

namespace vornelle::win32 {

[[nodiscard]] inline std::string windowText(HWND window) {
  std::wstring text(static_cast<std::size_t>(GetWindowTextLengthW(window)) + 1, L'\0');
  text.resize(static_cast<std::size_t>(GetWindowTextW(window, text.data(), static_cast<int>(text.size()))));
  return typedText(text);
}

inline void setWindowText(HWND window, const std::string& text) {
  SetWindowTextW(window, shownText(text).c_str());
}

}  // namespace vornelle::win32
