// The shell's special folders, and the shortcut in one of them. A console program has none.
#pragma once

#include <string>

namespace vornelle {

inline constexpr int kStartupFolder = 7;  // the user's own

// The path of a shell special folder, by the shell's number for it, ending in "\"; "" on any failure.
[[nodiscard]] std::string getSpecialFolder(int folderId);

// Creates "<linkName>.lnk" for the target in the user's Startup folder, in place of an earlier one.
[[nodiscard]] bool createStartupLink(const std::string& linkName, const std::string& targetPath);

}  // namespace vornelle
