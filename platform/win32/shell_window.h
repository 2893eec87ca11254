// What the shell functions need to know of the main window.
#pragma once

#include <windows.h>

namespace vornelle::win32 {

// The message that the notification icon sends to the main window: the window's own mouse-move message, with
// the icon's real message in the horizontal coordinate.
inline constexpr UINT kNotifyIconMessage = WM_MOUSEMOVE;  // 512
inline constexpr UINT kNotifyIconId = 1;

// The owner of message boxes, of the notification icon and of what is opened. Null at first.
void setMainWindow(HWND window);
[[nodiscard]] HWND mainWindow();

// Puts the notification icon up again if it should be there: the task bar has been started anew.
void restoreNotifyIcon();

}  // namespace vornelle::win32
