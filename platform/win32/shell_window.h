// What the platform needs to know of the program's windows.
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

// The window and its controls show the hourglass while a WaitCursor lives, also when the pointer comes to
// them meanwhile. For as long as the window exists.
void followWaitCursor(HWND window);

// Puts the notification icon up again if it should be there: the task bar has been started anew.
void restoreNotifyIcon();

}  // namespace vornelle::win32
