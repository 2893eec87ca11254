// The shell's special folders, and the shortcut in one of them. A console program has none.
#pragma once

#include <string>

namespace vornelle {

// The path of a shell special folder, ending in "\"; "" on any failure. Folder id 7 is the user's Startup
// folder.
[[nodiscard]] std::string getSpecialFolder(int folderId);

// Creates "<special folder>\<name>.lnk" for the target in the user's Startup folder.
[[nodiscard]] bool createStartupLink(const std::string& linkName, const std::string& targetPath);

}  // namespace vornelle
