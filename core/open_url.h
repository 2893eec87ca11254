// Web download into a file.
#pragma once

#include <string>

namespace vornelle {

// Fetches the address over HTTP and stores the body in the file, as raw bytes. Blocks until the transfer
// ends, within the bounds of downloadUrl. Never reports failure: a server that cannot be reached leaves an
// empty file in place of an earlier one.
void openUrl(const std::string& url, const std::string& path);

}  // namespace vornelle
