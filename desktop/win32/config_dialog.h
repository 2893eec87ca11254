// The settings dialog on the screen.
#pragma once

namespace vornelle::win32 {

// Returns when it has been closed.
void showConfigDialog();

}  // namespace vornelle::win32
