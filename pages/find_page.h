// The page that searches all three filter lists.
#pragma once

#include <string>

namespace vornelle {

// Entries that contain the text, letter case ignored, list by list. A blank text finds nothing. The page
// shows text and entries as pageText() gives them.
[[nodiscard]] std::string pageFind(const std::string& text);

}  // namespace vornelle
