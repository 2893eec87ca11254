// Download of one address from the web.
#pragma once

#include <string>

namespace vornelle {

// Downloads the address over HTTP, always afresh, through the system's proxy settings; follows nothing, at
// most 64 KiB, at most two seconds in all for connecting and reading. What arrived until a failure; "" when
// nothing did.
[[nodiscard]] std::string downloadUrl(const std::string& url);

}  // namespace vornelle
