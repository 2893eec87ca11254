// Shell links ("shortcuts").
#pragma once

#include <string>

namespace vornelle::win32 {

// Creates "<folder>\<linkName>.lnk" for the target. `folder` is "Startup" below `parent` "$(Programs)"; with
// isPrivate 1 the user's own, with 0 that of all users. An existing link of that name is replaced.
[[nodiscard]] bool fCreateShellLink(const std::string& folder, const std::string& linkName,
                                    const std::string& targetPath, const std::string& arguments,
                                    int isPrivate, const std::string& parent);

}  // namespace vornelle::win32
