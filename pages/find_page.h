// The page that searches all three filter lists.
#pragma once

#include <string>

namespace vornelle {

// Entries that contain the text, letter case ignored, list by list. A blank text finds nothing. The text is
// shown as given, not escaped.
[[nodiscard]] std::string pageFind(const std::string& text);

}  // namespace vornelle
