#include "platform/modSpecialFolders.h"

#include <windows.h>
// After windows.h.
#include <shlobj.h>

#include "platform/win32/com.h"
#include "platform/win32/paths.h"
#include "platform/win32/shell_window.h"
#include "platform/win32/text.h"

namespace vornelle {
namespace {

static_assert(kStartupFolder == CSIDL_STARTUP);

// Creates "<linkName>.lnk" for the target in the folder "Startup" below the parent "$(Programs)", the only
// one that is known here; with isPrivate 1 the user's own, with 0 that of all users. That folder has a name
// of its own in every language, so the shell is asked for it.
bool fCreateShellLink(const std::string& folder, const std::string& linkName, const std::string& targetPath,
                      const std::string& arguments, int isPrivate, const std::string& parent) {
  if (folder != "Startup" || parent != "$(Programs)") return false;
  const std::string place = getSpecialFolder(isPrivate ? CSIDL_STARTUP : CSIDL_COMMON_STARTUP);
  if (place.empty()) return false;
  const std::wstring target = win32::widePath(targetPath);

  const auto link = win32::createComObject<IShellLinkW>(CLSID_ShellLink, IID_IShellLinkW);
  if (!link) return false;
  if (FAILED(link->SetPath(target.c_str()))) return false;
  if (FAILED(link->SetArguments(win32::widen(arguments).c_str()))) return false;
  if (FAILED(link->SetWorkingDirectory(target.substr(0, target.find_last_of(L'\\')).c_str()))) return false;
  win32::ComPointer<IPersistFile> file;
  if (FAILED(link->QueryInterface(IID_IPersistFile, file.receive()))) return false;
  return SUCCEEDED(file->Save(win32::widePath(place + linkName + ".lnk").c_str(), TRUE));
}

}  // namespace

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
  return fCreateShellLink("Startup", linkName, targetPath, "", 1, "$(Programs)");
}

}  // namespace vornelle
