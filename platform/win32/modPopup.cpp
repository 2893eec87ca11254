// The notification icon, with the record in its first form: a tip of 64 characters, no balloon.
#include <windows.h>
// After windows.h.
#include <shellapi.h>

#include <algorithm>

#include "platform/modPopup.h"
#include "platform/win32/shell_window.h"
#include "platform/win32/text.h"

namespace vornelle {
namespace {

constexpr std::size_t kMostTipCharacters = 63;

bool iconIsUp = false;
std::wstring iconTip;

constexpr UINT kEverything = NIF_MESSAGE | NIF_ICON | NIF_TIP;

bool tellShell(DWORD command, UINT parts = kEverything) {
  NOTIFYICONDATAW record{};
  record.cbSize = NOTIFYICONDATAW_V1_SIZE;
  record.hWnd = win32::mainWindow();
  record.uID = win32::kNotifyIconId;
  record.uFlags = parts;
  record.uCallbackMessage = win32::kNotifyIconMessage;
  record.hIcon = reinterpret_cast<HICON>(GetClassLongPtrW(record.hWnd, GCLP_HICONSM));
  std::copy(iconTip.begin(), iconTip.end(), record.szTip);
  return Shell_NotifyIconW(command, &record) != FALSE;
}

void setTip(const std::string& tip) {
  iconTip = win32::shownText(tip).substr(0, kMostTipCharacters);
}

}  // namespace

bool notifyIconAdd(const std::string& tip) {
  setTip(tip);
  iconIsUp = true;
  return tellShell(NIM_ADD);
}

bool notifyIconModifyTip(const std::string& tip) {
  setTip(tip);
  return tellShell(NIM_MODIFY, NIF_TIP);
}

bool notifyIconDelete() {
  iconIsUp = false;
  return tellShell(NIM_DELETE);
}

void win32::restoreNotifyIcon() {
  if (iconIsUp) tellShell(NIM_ADD);
}

}  // namespace vornelle
