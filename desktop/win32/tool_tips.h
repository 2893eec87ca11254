// Tool tips of a window's controls.
#pragma once

#include <windows.h>

namespace vornelle::win32 {

// Makes the window's tool tip control; it goes with the window.
[[nodiscard]] HWND makeToolTips(HWND window);

// Shows the text over the control. An empty text shows nothing.
void addToolTip(HWND toolTips, HWND control, const char* text);

}  // namespace vornelle::win32
