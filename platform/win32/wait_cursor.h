// The windows over which the hourglass is shown.
#pragma once

#include <windows.h>

namespace vornelle::win32 {

// The window and its controls show the hourglass while a WaitCursor lives, also when the pointer comes to
// them meanwhile. For as long as the window exists.
void followWaitCursor(HWND window);

}  // namespace vornelle::win32
