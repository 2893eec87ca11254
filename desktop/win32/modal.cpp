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

// The actions come with WM_INITDIALOG and are kept with the dialog.
INT_PTR CALLBACK procedure(HWND dialog, UINT message, WPARAM wParam, LPARAM lParam) {
  if (message == WM_INITDIALOG) {
    SetWindowLongPtrW(dialog, DWLP_USER, lParam);
    reinterpret_cast<const DialogActions*>(lParam)->fill(dialog);
    return TRUE;
  }
  const auto* const actions = reinterpret_cast<const DialogActions*>(GetWindowLongPtrW(dialog, DWLP_USER));
  if (!actions) return FALSE;  // what comes before WM_INITDIALOG
  if (message != WM_COMMAND) return actions->message && actions->message(dialog, message, lParam);
  if (HIWORD(wParam) == kFromAccelerator) {
    useAccessKey(dialog, LOWORD(wParam));
  } else {
    actions->command(dialog, LOWORD(wParam), HIWORD(wParam));
  }
  return TRUE;
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

void runModal(int dialog, int acceleratorTable, const DialogActions& actions) {
  const HWND window = CreateDialogParamW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(dialog), mainWindow(),
                                         procedure, reinterpret_cast<LPARAM>(&actions));
  if (!window) return;
  if (acceleratorTable) setAccessKeys(window, acceleratorTable);
  showUntilClosed(window);
}

void runModal(const DialogTemplate& dialog, HACCEL accessKeys, const DialogActions& actions) {
  const HWND window = CreateDialogIndirectParamW(GetModuleHandleW(nullptr), dialog.get(), mainWindow(),
                                                 procedure, reinterpret_cast<LPARAM>(&actions));
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
