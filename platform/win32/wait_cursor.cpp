#include "platform/wait_cursor.h"

#include <windows.h>
// After windows.h.
#include <commctrl.h>

#include "platform/win32/shell_window.h"

namespace vornelle {
namespace {

int waiting = 0;

void showHourglass() {
  SetCursor(LoadCursorW(nullptr, MAKEINTRESOURCEW(32514)));
}

LRESULT CALLBACK subclass(HWND window, UINT message, WPARAM wParam, LPARAM lParam, UINT_PTR id, DWORD_PTR) {
  switch (message) {
    case WM_SETCURSOR:
      // Controls ask their parents first. Borders and the caption keep their own pointers.
      if (waiting == 0 || LOWORD(lParam) != HTCLIENT) break;
      showHourglass();
      return TRUE;
    case WM_NCDESTROY:
      RemoveWindowSubclass(window, subclass, id);
      break;
    default:
      break;
  }
  return DefSubclassProc(window, message, wParam, lParam);
}

}  // namespace

WaitCursor::WaitCursor() {
  ++waiting;
  showHourglass();
}

WaitCursor::~WaitCursor() {
  if (--waiting > 0) return;
  SetCursor(LoadCursorW(nullptr, MAKEINTRESOURCEW(32512)));  // the arrow
  // A pointer that does not move stands where its window is asked anew which one it wants.
  POINT place;
  if (GetCursorPos(&place)) SetCursorPos(place.x, place.y);
}

void win32::followWaitCursor(HWND window) {
  SetWindowSubclass(window, subclass, 1, 0);
}

}  // namespace vornelle
