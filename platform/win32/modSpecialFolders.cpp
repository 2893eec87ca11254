#include "platform/modSpecialFolders.h"

#include <windows.h>
// After windows.h.
#include <shlobj.h>

#include "platform/win32/shell_link.h"
#include "platform/win32/shell_window.h"
#include "platform/win32/text.h"

namespace vornelle {

std::string getSpecialFolder(int folderId) {
  PIDLIST_ABSOLUTE list = nullptr;
  if (FAILED(SHGetSpecialFolderLocation(win32::mainWindow(), folderId, &list)) || !list) return {};
  // Not through the 8-bit function: it answers in the system's own code page, which may lack letters of the
  // user's name that the short names make up for.
  wchar_t path[MAX_PATH] = {};
  const bool found = SHGetPathFromIDListW(list, path) != FALSE;
  CoTaskMemFree(list);
  if (!found) return {};
  return win32::narrowPath(path) + "\\";
}

bool createStartupLink(const std::string& linkName, const std::string& targetPath) {
  return win32::fCreateShellLink("Startup", linkName, targetPath, "", 1, "$(Programs)");
}

}  // namespace vornelle
