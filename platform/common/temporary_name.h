// The names of the files in which writeFile() prepares a content before it takes the place of the old one.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace vornelle::files {

// The temporary file for the file whose name has this hash: the same for every try, so that what a crash
// leaves behind is used up by the next one, and short whatever the length of the name, since a name has at
// most 255 characters.
[[nodiscard]] std::string temporaryName(std::uint64_t hashOfName);

[[nodiscard]] bool isTemporaryName(std::string_view name);

}  // namespace vornelle::files
