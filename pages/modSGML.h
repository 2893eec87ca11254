// Text conversion for pages.
#pragma once

#include <string>

namespace vornelle {

// Plain text for display inside HTML: double quote, "<" and ">" are escaped, each CR LF becomes CR LF +
// "<br>". The ampersand and lone line feeds are left as they are. Rewrites its argument and returns it.
std::string& textToHtml(std::string& text);

}  // namespace vornelle
