// Pages without a template.
#pragma once

#include <string>
#include <string_view>

namespace vornelle {

// What stands on the pages in place of a message that cannot be shown.
inline constexpr std::string_view kCannotLogOn = "Cannot log onto POP3 server. Try again later.";
inline constexpr std::string_view kNoSuchMessage = "Requested email does not exist!";

// "<html><body><h2>" + text + "</h2>" with a "Go Back" link. The text goes in as it is.
[[nodiscard]] std::string messagePage(std::string_view text);

// The "HTTP 404" page. The listener builds it once and keeps it; no request leads to it.
[[nodiscard]] std::string notFoundPage();

}  // namespace vornelle
