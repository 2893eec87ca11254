// Modal dialogs. A dialog blocks input to the main window and nothing else: the program's own event loop goes
// on running under it, with sockets and timers.
#pragma once

#include <windows.h>

#include "desktop/win32/dialog_template.h"

namespace vornelle::win32 {

// What a dialog does. Access keys it need not know.
struct DialogActions {
  void (*fill)(HWND dialog);  // before it is seen; the first control then gets the focus
  void (*command)(HWND dialog, int control, int notification);
  // Any other message; false where it means nothing to the dialog. Null for a dialog that has none such.
  bool (*message)(HWND dialog, UINT message, LPARAM lParam) = nullptr;
};

// Shows the dialog with that resource number over the main window until it is closed with closeModal(). Its
// access keys are those of the accelerator table, 0 for none.
void runModal(int dialog, int acceleratorTable, const DialogActions& actions);

// The same for one that has been put together here.
void runModal(const DialogTemplate& dialog, HACCEL accessKeys, const DialogActions& actions);

// Ends the dialog; to be called from its actions.
void closeModal(HWND dialog);

}  // namespace vornelle::win32
