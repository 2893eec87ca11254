// The program's version.
#pragma once

#include <string>

namespace vornelle {

// "1.0.0". CMakeLists.txt has the number; the build makes the source file of this function from
// version.cpp.in.
[[nodiscard]] std::string versionText();
}  // namespace vornelle
