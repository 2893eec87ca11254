// From the application's paths ("\data\Inbox.htm" below the application folder, in any letter case) to the
// system's.
//
// The application folder "/opt/my mail" reads "\opt\my mail" in the application's paths. A path that begins
// with exactly that text means that folder, whatever its own name is made of; every name after it is looked
// up one by one, first as it is spelled, then without regard to letter case. A path that begins otherwise is
// looked up in the same way from "/" on. "\" and "/" both separate names.
#pragma once

#include <optional>
#include <string>

namespace vornelle::files {

// Names that do not exist stay as they are spelled. nullopt where the path cannot name anything: it is empty,
// or has a NUL in it.
[[nodiscard]] std::optional<std::string> nativePath(const std::string& path);

}  // namespace vornelle::files
