// The settings page: the settings as they are held in memory, in the form of data\config.htm.
#pragma once

#include <string>

namespace vornelle {

// Passwords are shown as a row of "*" of their length; texts go in as pageText() gives them.
[[nodiscard]] std::string pageSettings();

}  // namespace vornelle
