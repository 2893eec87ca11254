// The notification icon. A console program has none: every call fails.
#pragma once

#include <string>

namespace vornelle {

// One icon, id 1, owned by the main window. A tip is cut behind its 63rd character. False: the shell refuses.
[[nodiscard]] bool notifyIconAdd(const std::string& tip);
[[nodiscard]] bool notifyIconModifyTip(const std::string& tip);
[[nodiscard]] bool notifyIconDelete();

}  // namespace vornelle
