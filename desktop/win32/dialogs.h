// The dialogs on the screen. Each function returns when its dialog has been closed.
#pragma once

namespace vornelle::win32 {

void showImportDialog();
void showConfigDialog();
void showAboutWindow();

}  // namespace vornelle::win32
