#include "platform/win32/shell_link.h"

#include <windows.h>
// After windows.h.
#include <shlobj.h>

#include "platform/modSpecialFolders.h"
#include "platform/win32/com.h"
#include "platform/win32/paths.h"
#include "platform/win32/text.h"

namespace vornelle::win32 {
namespace {

std::string programsFolder(int isPrivate, const std::string& parent) {
  if (parent != "$(Programs)") return {};
  return getSpecialFolder(isPrivate ? CSIDL_PROGRAMS : CSIDL_COMMON_PROGRAMS);
}

// The Startup folder has a name of its own in every language; the shell knows it.
std::string linkFolder(const std::string& folder, int isPrivate, const std::string& parent) {
  if (folder == "Startup" && parent == "$(Programs)") {
    return getSpecialFolder(isPrivate ? CSIDL_STARTUP : CSIDL_COMMON_STARTUP);
  }
  const std::string programs = programsFolder(isPrivate, parent);
  return programs.empty() ? programs : programs + folder + "\\";
}

}  // namespace

bool fCreateShellLink(const std::string& folder, const std::string& linkName, const std::string& targetPath,
                      const std::string& arguments, int isPrivate, const std::string& parent) {
  const std::string place = linkFolder(folder, isPrivate, parent);
  if (place.empty()) return false;
  const std::wstring target = widePath(targetPath);

  const ComPointer<IShellLinkW> link = createComObject<IShellLinkW>(CLSID_ShellLink, IID_IShellLinkW);
  if (!link) return false;
  if (FAILED(link->SetPath(target.c_str()))) return false;
  if (FAILED(link->SetArguments(widen(arguments).c_str()))) return false;
  if (FAILED(link->SetWorkingDirectory(target.substr(0, target.find_last_of(L'\\')).c_str()))) return false;
  ComPointer<IPersistFile> file;
  if (FAILED(link->QueryInterface(IID_IPersistFile, file.receive()))) return false;
  return SUCCEEDED(file->Save(widePath(place + linkName + ".lnk").c_str(), TRUE));
}

}  // namespace vornelle::win32
