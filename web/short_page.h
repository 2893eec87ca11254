// The short pages of the program in a browser's form: with a language, a title, one heading and a width that
// fits a phone. Over the plain wire they stay the bare lines that they are.
#pragma once

#include <string>
#include <string_view>

namespace vornelle {

// A whole page: the heading, as markup, and the lines below it. The heading is the title too, up to a "?":
// behind it stands an address's session id.
[[nodiscard]] std::string shortPage(std::string_view heading, std::string_view lines);

// "<html><body><h2>Requested email does not exist!</h2>...", and the like with h3, as a whole page, with a
// way to the start page where it has no link of its own; any other body as it is.
[[nodiscard]] std::string inBrowserForm(std::string body);

}  // namespace vornelle
