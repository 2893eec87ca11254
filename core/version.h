// The program's name and version.
#pragma once

#include <string>

namespace vornelle {

inline constexpr int kVersionMajor = VORNELLE_VERSION_MAJOR;
inline constexpr int kVersionMinor = VORNELLE_VERSION_MINOR;
inline constexpr int kVersionRevision = VORNELLE_VERSION_REVISION;

// "1.0.0"
[[nodiscard]] inline std::string versionText() {
  return std::to_string(kVersionMajor) + "." + std::to_string(kVersionMinor) + "." +
         std::to_string(kVersionRevision);
}

// The host name under which the program shows its web interface.
inline constexpr const char* kLocalAddress = "localhost";

}  // namespace vornelle
