#include "desktop/win32/keyboard.h"

#include <map>

#include "platform/win32/shell_window.h"

namespace vornelle::win32 {
namespace {

std::map<HWND, HACCEL>& accessKeys() {
  static std::map<HWND, HACCEL> tables;
  return tables;
}

bool isDialog(HWND window) {
  wchar_t name[16] = {};
  GetClassNameW(window, name, 16);
  return lstrcmpW(name, L"#32770") == 0;
}

// A multi-line box outside a dialog would keep the Tab key to itself, even one that nobody can write into.
bool moveFocus(HWND root, const MSG& message) {
  if (root != mainWindow() || message.message != WM_KEYDOWN || message.wParam != VK_TAB) return false;
  const HWND focus = GetFocus();
  if (!focus || !IsChild(root, focus) || GetKeyState(VK_CONTROL) < 0) return false;
  SetFocus(GetNextDlgTabItem(root, focus, GetKeyState(VK_SHIFT) < 0));
  return true;
}

}  // namespace

void setAccessKeys(HWND window, int acceleratorTable) {
  setAccessKeys(window, LoadAcceleratorsW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(acceleratorTable)));
}

void setAccessKeys(HWND window, HACCEL table) {
  accessKeys()[window] = table;
}

void forgetAccessKeys(HWND window) {
  accessKeys().erase(window);
}

bool keyboardMessage(MSG& message) {
  if (!message.hwnd) return false;
  const HWND root = GetAncestor(message.hwnd, GA_ROOT);
  const auto keys = accessKeys().find(root);
  if (keys != accessKeys().end() && TranslateAcceleratorW(root, keys->second, &message)) return true;
  if (moveFocus(root, message)) return true;
  return (root == mainWindow() || isDialog(root)) && IsDialogMessageW(root, &message);
}

void useAccessKey(HWND window, int control) {
  const HWND target = GetDlgItem(window, control);
  if (!target || !IsWindowEnabled(target)) return;
  SetFocus(target);
  const auto kind = SendMessageW(target, WM_GETDLGCODE, 0, 0);
  if (kind & DLGC_BUTTON || kind & (DLGC_DEFPUSHBUTTON | DLGC_UNDEFPUSHBUTTON | DLGC_RADIOBUTTON)) {
    SendMessageW(target, BM_CLICK, 0, 0);
  } else {
    SendMessageW(target, EM_SETSEL, 0, -1);
  }
}

}  // namespace vornelle::win32
