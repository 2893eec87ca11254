// Making files and the names of files last through a loss of power.
#pragma once

#include <string>

namespace vornelle::files {

// Waits until what has been written to the open file is on the disk. At once, and true, where the platform
// has no loss of power to survive (file_hooks.h).
[[nodiscard]] bool flushDescriptor(int descriptor);

// The same for the names in a folder, a path of the system's.
[[nodiscard]] bool flushFolder(const std::string& folder);

}  // namespace vornelle::files
