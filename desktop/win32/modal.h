// Modal dialogs. A dialog blocks input to the main window and nothing else: the program's own event loop goes
// on running under it, with sockets and timers.
#pragma once

#include <windows.h>

#include "desktop/win32/dialog_template.h"

namespace vornelle::win32 {

// Shows the dialog with that resource number over the main window until it is closed with closeModal(). The
// procedure gets `parameter` with WM_INITDIALOG. Its access keys are those of the accelerator table, 0 for
// none.
void runModal(int dialog, int acceleratorTable, DLGPROC procedure, LPARAM parameter);

// The same for one that has been put together here.
void runModal(const DialogTemplate& dialog, HACCEL accessKeys, DLGPROC procedure);

// Ends the dialog; to be called from its procedure.
void closeModal(HWND dialog);

}  // namespace vornelle::win32
