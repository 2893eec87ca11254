#include "platform/shell.h"

#include <windows.h>
// After windows.h.
#include <shellapi.h>

#include <cstdint>

#include "base/hash.h"
#include "platform/win32/handle.h"
#include "platform/win32/paths.h"
#include "platform/win32/shell_window.h"
#include "platform/win32/text.h"

namespace vornelle {
namespace {

HWND theMainWindow = nullptr;

// The folder as the file system itself names it: one name, whatever way leads to it.
std::wstring finalFolderName(const std::wstring& folder) {
  const win32::Handle handle(CreateFileW(folder.c_str(), 0, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                         OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr));
  std::wstring name(32768, L'\0');
  const DWORD length =
      handle ? GetFinalPathNameByHandleW(handle.get(), name.data(), static_cast<DWORD>(name.size()), 0) : 0;
  if (length == 0 || length >= name.size()) return folder;
  name.resize(length);
  return name;
}

// A kernel object's name has at most 260 characters and no backslash, so the folder goes in as a number.
// Global: a copy that another user has left running behind the log-on screen works on the same files.
std::wstring instanceName() {
  std::wstring folder = finalFolderName(win32::programFolder());
  CharLowerBuffW(folder.data(), static_cast<DWORD>(folder.size()));
  return L"Global\\Vornelle-" + std::to_wstring(fnv1a(std::wstring_view(folder)));
}

// The window in front, so that a box opened by a dialog belongs to the dialog.
HWND messageBoxOwner() {
  HWND owner = GetActiveWindow();
  if (!owner) owner = theMainWindow;
  return owner && IsWindowVisible(owner) ? owner : nullptr;
}

}  // namespace

namespace win32 {

void setMainWindow(HWND window) {
  theMainWindow = window;
}
HWND mainWindow() {
  return theMainWindow;
}

}  // namespace win32

void beep() {
  MessageBeep(MB_OK);
}

void messageBox(const std::string& text, MessageIcon icon) {
  const HWND owner = messageBoxOwner();
  const UINT modality = owner ? MB_APPLMODAL : MB_TASKMODAL;
  const UINT picture = icon == MessageIcon::information ? MB_ICONINFORMATION : 0;
  MessageBoxW(owner, win32::shownText(text).c_str(), L"Vornelle",
              MB_OK | MB_SETFOREGROUND | modality | picture);
}

bool previousInstanceRunning() {
  static const bool running = [] {
    // Held until the process ends.
    const HANDLE mutex = CreateMutexW(nullptr, FALSE, instanceName().c_str());
    const DWORD error = GetLastError();
    return mutex ? error == ERROR_ALREADY_EXISTS : error == ERROR_ACCESS_DENIED;
  }();
  return running;
}

void endProcess() {
  TerminateProcess(GetCurrentProcess(), 0);
  for (;;) Sleep(INFINITE);
}

bool openInBrowser(const std::string& address) {
  const HINSTANCE result =
      ShellExecuteA(theMainWindow, nullptr, address.c_str(), nullptr, "C:\\", SW_SHOWNORMAL);
  return reinterpret_cast<std::intptr_t>(result) > 32;  // up to 32 are error codes
}

}  // namespace vornelle
