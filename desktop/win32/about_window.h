// The about window on the screen.
#pragma once

namespace vornelle::win32 {

// Returns when it has been closed.
void showAboutWindow();

}  // namespace vornelle::win32
