// The notification icon. A console program has none: every call fails.
#pragma once

#include <string>

namespace vornelle {

// The notification icon: one icon, id 1, owned by the main window. A tip has at most 63 characters.
[[nodiscard]] bool notifyIconAdd(const std::string& tip);
[[nodiscard]] bool notifyIconModifyTip(const std::string& tip);
[[nodiscard]] bool notifyIconDelete();

}  // namespace vornelle
