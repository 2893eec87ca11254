// The import dialog on the screen.
#pragma once

namespace vornelle::win32 {

// Returns when it has been closed.
void showImportDialog();

}  // namespace vornelle::win32
