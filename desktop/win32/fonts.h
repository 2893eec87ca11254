// The system's own font, and lengths, in the resolution of a window's screen.
#pragma once

#include <windows.h>

namespace vornelle::win32 {

// The font of message boxes at that resolution. The caller deletes it.
[[nodiscard]] HFONT makeMessageFont(UINT dpi);

// A length given for 96 dots an inch.
[[nodiscard]] inline int scaled(int length, UINT dpi) {
  return MulDiv(length, static_cast<int>(dpi), 96);
}

// The size of a one-line text in the font.
[[nodiscard]] SIZE textSize(HWND window, HFONT font, const wchar_t* text);

}  // namespace vornelle::win32
