// What the web interface can do: the pages and actions behind the paths, in the order in which they are
// tried.
#pragma once

#include <optional>
#include <string>

namespace vornelle {

// Chooses what the path in requestPath asks for, does it, and returns the whole answer; nullopt when there is
// none to send. Strips the path's leading "/", which the log then shows so. Pauses, page builders and mail
// actions in here let other requests in, and those share requestText and requestPath.
[[nodiscard]] std::optional<std::string> dispatchRequest();

}  // namespace vornelle
