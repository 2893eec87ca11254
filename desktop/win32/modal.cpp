#include "desktop/win32/modal.h"

#include "desktop/win32/keyboard.h"
#include "platform/events.h"
#include "platform/win32/shell_window.h"

namespace vornelle::win32 {

void runModal(int dialog, int acceleratorTable, DLGPROC procedure, LPARAM parameter) {
  const HWND owner = mainWindow();
  const HWND window = CreateDialogParamW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(dialog), owner, procedure, parameter);
  if (!window) return;
  if (acceleratorTable) setAccessKeys(window, acceleratorTable);
  EnableWindow(owner, FALSE);
  ShowWindow(window, SW_SHOW);
  while (IsWindow(window)) waitEvents();
}

void closeModal(HWND dialog) {
  forgetAccessKeys(dialog);
  // Before the dialog goes, or the system would bring another program's window to the front.
  EnableWindow(mainWindow(), TRUE);
  DestroyWindow(dialog);
}

}  // namespace vornelle::win32
