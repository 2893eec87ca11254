// From the application's paths ("\data\Inbox.htm" below the application folder, in any letter case) to the
// system's.
//
// The application folder "/opt/my mail" reads "\opt\my mail" in the application's paths. A path that begins
// with exactly that text means that folder, whatever its own name is made of; every name after it is looked
// up one by one, first as it is spelled, then without regard to letter case. A path that begins otherwise is
// looked up in the same way from "/" on.
// "\" and "/" both separate names.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace vornelle::files {

// Equal but for the letter case of Windows-1252.
[[nodiscard]] bool sameName(std::string_view a, std::string_view b);
[[nodiscard]] bool endsWithNoCase(std::string_view name, std::string_view ending);

// Names that do not exist stay as they are spelled. nullopt where the path cannot name anything (a NUL in
// it).
[[nodiscard]] std::optional<std::string> nativePath(const std::string& path);

// The name of the temporary file in which writeFile() prepares the content of `name`. The same for every try,
// so that what a crash leaves behind is used up by the next one.
[[nodiscard]] std::string temporaryName(std::string_view name);
[[nodiscard]] bool isTemporaryName(std::string_view name);

}  // namespace vornelle::files
