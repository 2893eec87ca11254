#include "desktop/win32/modal.h"

#include <algorithm>

#include "desktop/win32/keyboard.h"
#include "platform/events.h"
#include "platform/win32/shell_window.h"

namespace vornelle::win32 {

namespace {

// In the middle of the main window, as far as the screen's work area allows.
void centre(HWND dialog, HWND owner) {
  RECT over;
  RECT place;
  GetWindowRect(owner, &over);
  GetWindowRect(dialog, &place);
  MONITORINFO screen{};
  screen.cbSize = sizeof screen;
  GetMonitorInfoW(MonitorFromWindow(owner, MONITOR_DEFAULTTONEAREST), &screen);
  const LONG width = place.right - place.left;
  const LONG height = place.bottom - place.top;
  const RECT& work = screen.rcWork;
  const LONG left = std::max(work.left, std::min((over.left + over.right - width) / 2, work.right - width));
  const LONG top = std::max(work.top, std::min((over.top + over.bottom - height) / 2, work.bottom - height));
  SetWindowPos(dialog, nullptr, left, top, 0, 0, SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE);
}

void showUntilClosed(HWND window) {
  const HWND owner = mainWindow();
  followWaitCursor(window);
  centre(window, owner);
  EnableWindow(owner, FALSE);
  ShowWindow(window, SW_SHOW);
  while (IsWindow(window)) waitEvents();
}

}  // namespace

void runModal(int dialog, int acceleratorTable, DLGPROC procedure, LPARAM parameter) {
  const HWND window = CreateDialogParamW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(dialog), mainWindow(),
                                         procedure, parameter);
  if (!window) return;
  if (acceleratorTable) setAccessKeys(window, acceleratorTable);
  showUntilClosed(window);
}

void runModal(const DialogTemplate& dialog, HACCEL accessKeys, DLGPROC procedure) {
  const HWND window =
      CreateDialogIndirectParamW(GetModuleHandleW(nullptr), dialog.get(), mainWindow(), procedure, 0);
  if (!window) return;
  setAccessKeys(window, accessKeys);
  showUntilClosed(window);
}

void closeModal(HWND dialog) {
  forgetAccessKeys(dialog);
  // Before the dialog goes, or the system would bring another program's window to the front.
  EnableWindow(mainWindow(), TRUE);
  DestroyWindow(dialog);
}

}  // namespace vornelle::win32
