// The main window: form1 on the screen, and what the user does to it.
#include "desktop/window.h"

#include <windows.h>
// After windows.h.
#include <commctrl.h>
#include <windowsx.h>

#include "core/form1.h"
#include "desktop/main_window.h"
#include "desktop/win32/dialogs.h"
#include "desktop/win32/fonts.h"
#include "desktop/win32/keyboard.h"
#include "desktop/win32/log_box.h"
#include "desktop/win32/main_controls.h"
#include "desktop/win32/resource.h"
#include "mail/schedule.h"
#include "platform/events.h"
#include "platform/meanwhile.h"
#include "platform/win32/event_loop.h"
#include "platform/win32/shell_window.h"
#include "platform/win32/text.h"

namespace vornelle {
namespace {

using win32::scaled;

constexpr int kFirstWidth = 640;
constexpr int kFirstHeight = 400;

HWND window = nullptr;
win32::MainControls controls;
HWND lastFocus = nullptr;
UINT taskbarCreated = 0;

// ---- form1 to the screen ----

void showCheckBox(CheckBox& box, int id) {
  box.onShow = [&box, id] { CheckDlgButton(window, id, box.checked() ? BST_CHECKED : BST_UNCHECKED); };
  box.onShow();
}

void showWindowState() {
  const std::wstring caption = win32::widen(form1.caption);
  std::wstring shown(caption.size() + 2, L'\0');
  shown.resize(
      static_cast<std::size_t>(GetWindowTextW(window, shown.data(), static_cast<int>(shown.size()))));
  if (shown != caption) SetWindowTextW(window, caption.c_str());
  if (!form1.visible) {
    if (IsWindowVisible(window)) ShowWindow(window, SW_HIDE);
  } else if (form1.windowState == WindowState::minimized) {
    if (!IsIconic(window)) ShowWindow(window, SW_MINIMIZE);
  } else if (IsIconic(window)) {
    ShowWindow(window, SW_RESTORE);
  } else if (!IsWindowVisible(window)) {
    ShowWindow(window, SW_SHOW);
  }
}

// In its normal size, even where it filled the screen. A dialog that is open over the window comes along, and
// to the very front; which one that is must be asked before the window itself becomes the active one.
void raiseWindow() {
  const HWND popup = GetLastActivePopup(window);
  WINDOWPLACEMENT place{};
  place.length = sizeof place;
  GetWindowPlacement(window, &place);
  place.flags = 0;  // an icon of a maximised window does not become one again
  place.showCmd = SW_SHOWNORMAL;
  SetWindowPlacement(window, &place);
  SetForegroundWindow(window);
  if (popup != window) SetForegroundWindow(popup);
}

void observeForm1() {
  showCheckBox(form1.ckActive, IDC_ckActive);
  showCheckBox(form1.ckTestMode, IDC_ckTestMode);
  showCheckBox(form1.ckStartMinimized, IDC_ckStartMinimized);
  showCheckBox(form1.ckAutostart, IDC_ckAutostart);
  form1.LogWindow.onAppend = [](std::string_view piece) { win32::logBoxAppend(controls.logBox(), piece); };
  form1.LogWindow.onReplace = [] { win32::logBoxReplace(controls.logBox(), form1.LogWindow.text()); };
  setBeforeBlocking(win32::logBoxShowAll);
  form1.onWindowChange = showWindowState;
  form1.onRaise = raiseWindow;
}

// ---- the user to form1 ----

CheckBox* checkBoxOf(int id) {
  switch (id) {
    case IDC_ckActive:
      return &form1.ckActive;
    case IDC_ckTestMode:
      return &form1.ckTestMode;
    case IDC_ckStartMinimized:
      return &form1.ckStartMinimized;
    case IDC_ckAutostart:
      return &form1.ckAutostart;
    default:
      return nullptr;
  }
}

void command(int id) {
  if (CheckBox* const box = checkBoxOf(id)) {
    box->setChecked(IsDlgButtonChecked(window, id) == BST_CHECKED);
    return;
  }
  switch (id) {
    case IDC_cmdOpenBrowser:
      cmdOpenBrowserClick();
      break;
    case IDC_cmdFilterMail:
      cmdFilterMailClick();
      break;
    case IDC_mnuImport:
      win32::showImportDialog();
      break;
    case IDC_mnuConfig:
      win32::showConfigDialog();
      break;
    case IDC_mnuAbout:
      win32::showAboutWindow();
      break;
    case IDC_mnuExit:
      mnuExitClick();
    case IDOK: {
      // The Enter key: the button that has the focus.
      const int focused = GetDlgCtrlID(GetFocus());
      if (focused == IDC_cmdOpenBrowser || focused == IDC_cmdFilterMail) command(focused);
      break;
    }
    default:
      break;
  }
}

void commandMessage(WPARAM wParam) {
  const int id = LOWORD(wParam);
  const bool isMenuEntry = id >= IDC_mnuImport && id <= IDC_mnuExit;
  if (HIWORD(wParam) == win32::kFromAccelerator && !isMenuEntry) {
    win32::useAccessKey(window, id);
  } else if (HIWORD(wParam) == BN_CLICKED || isMenuEntry) {
    command(id);
  }
}

void activated(bool active) {
  if (!active) {
    const HWND focus = GetFocus();
    if (focus && IsChild(window, focus)) lastFocus = focus;
  } else if (!IsIconic(window)) {
    SetFocus(lastFocus ? lastFocus : GetDlgItem(window, IDC_cmdOpenBrowser));
  }
}

// A movement comes from the window's own queue, and the pointer stood where it says.
bool isRealMovement(LPARAM lParam) {
  if (InSendMessage()) return false;
  const DWORD place = GetMessagePos();
  POINT pointer{GET_X_LPARAM(place), GET_Y_LPARAM(place)};
  ScreenToClient(window, &pointer);
  return pointer.x == GET_X_LPARAM(lParam) && pointer.y == GET_Y_LPARAM(lParam);
}

// Both the icon's messages and real movements of the mouse come here. The icon's carry its number and no
// vertical coordinate; so does a movement over the top row with the left button held down.
void mouseMessage(WPARAM wParam, LPARAM lParam) {
  if (wParam != win32::kNotifyIconId || HIWORD(lParam) != 0 || isRealMovement(lParam)) return;
  iconMessage(LOWORD(lParam));
}

void resolutionChanged(LPARAM lParam) {
  const RECT& wanted = *reinterpret_cast<const RECT*>(lParam);
  controls.updateFont();
  SetWindowPos(window, nullptr, wanted.left, wanted.top, wanted.right - wanted.left,
               wanted.bottom - wanted.top, SWP_NOZORDER | SWP_NOACTIVATE);
  controls.layOut();
}

LRESULT CALLBACK windowProcedure(HWND handle, UINT message, WPARAM wParam, LPARAM lParam) {
  switch (message) {
    case WM_CREATE:
      window = handle;
      controls.create(handle);
      return 0;
    case WM_COMMAND:
      commandMessage(wParam);
      return 0;
    case WM_SIZE:
      if (wParam != SIZE_MINIMIZED) controls.layOut();
      windowResized(wParam == SIZE_MINIMIZED ? WindowState::minimized : WindowState::normal);
      return 0;
    case WM_GETMINMAXINFO:
      if (window) {
        const SIZE least = controls.minimumSize();
        reinterpret_cast<MINMAXINFO*>(lParam)->ptMinTrackSize = {least.cx, least.cy};
      }
      return 0;
    case WM_MOUSEMOVE:
      mouseMessage(wParam, lParam);
      return 0;
    case WM_ACTIVATE:
      activated(LOWORD(wParam) != WA_INACTIVE);
      return 0;
    case WM_CTLCOLORSTATIC:
      // A read-only box is grey otherwise, which reads as "off".
      if (reinterpret_cast<HWND>(lParam) == controls.logBox()) {
        SetTextColor(reinterpret_cast<HDC>(wParam), GetSysColor(COLOR_WINDOWTEXT));
        SetBkColor(reinterpret_cast<HDC>(wParam), GetSysColor(COLOR_WINDOW));
        return reinterpret_cast<LRESULT>(GetSysColorBrush(COLOR_WINDOW));
      }
      break;
    case WM_DPICHANGED:
      resolutionChanged(lParam);
      return 0;
    case WM_SETTINGCHANGE:
      controls.updateFont();
      controls.layOut();
      break;
    case WM_CLOSE:
      mnuExitClick();
    case WM_QUERYENDSESSION:
      return TRUE;
    case WM_ENDSESSION:
      if (wParam) mnuExitClick();
      return 0;
    default:
      if (message == taskbarCreated && taskbarCreated != 0) {
        win32::restoreNotifyIcon();
        return 0;
      }
      break;
  }
  return DefWindowProcW(handle, message, wParam, lParam);
}

HICON icon(int widthMetric, int heightMetric) {
  return static_cast<HICON>(LoadImageW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(IDI_VORNELLE), IMAGE_ICON,
                                       GetSystemMetrics(widthMetric), GetSystemMetrics(heightMetric),
                                       LR_DEFAULTCOLOR));
}

void makeWindow() {
  const HINSTANCE program = GetModuleHandleW(nullptr);
  WNDCLASSEXW windowClass{};
  windowClass.cbSize = sizeof windowClass;
  windowClass.lpfnWndProc = windowProcedure;
  windowClass.hInstance = program;
  windowClass.hIcon = icon(SM_CXICON, SM_CYICON);
  windowClass.hIconSm = icon(SM_CXSMICON, SM_CYSMICON);
  windowClass.hCursor = LoadCursorW(nullptr, MAKEINTRESOURCEW(32512));  // the arrow
  windowClass.hbrBackground = GetSysColorBrush(COLOR_BTNFACE);
  windowClass.lpszMenuName = MAKEINTRESOURCEW(IDM_MAIN);
  windowClass.lpszClassName = L"VornelleForm1";
  RegisterClassExW(&windowClass);
  CreateWindowExW(0, windowClass.lpszClassName, win32::widen(form1.caption).c_str(), WS_OVERLAPPEDWINDOW,
                  CW_USEDEFAULT, CW_USEDEFAULT, CW_USEDEFAULT, CW_USEDEFAULT, nullptr, nullptr, program,
                  nullptr);
  const UINT dpi = GetDpiForWindow(window);
  SetWindowPos(window, nullptr, 0, 0, scaled(kFirstWidth, dpi), scaled(kFirstHeight, dpi),
               SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
}

}  // namespace

void createMainWindow() {
  INITCOMMONCONTROLSEX classes{sizeof classes, ICC_STANDARD_CLASSES | ICC_WIN95_CLASSES | ICC_LINK_CLASS};
  InitCommonControlsEx(&classes);
  taskbarCreated = RegisterWindowMessageW(L"TaskbarCreated");
  makeWindow();
  win32::setMainWindow(window);
  win32::followWaitCursor(window);
  win32::setAccessKeys(window, IDA_MAIN);
  win32::setMessageFilter(win32::keyboardMessage);
  observeForm1();
}

int runMessageLoop() {
  for (;;) waitEvents();
}

}  // namespace vornelle
