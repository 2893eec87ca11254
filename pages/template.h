// Filling page templates: the helpers that all pages share and the common sequence.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace vornelle {

// The whole content of a file, "" when it is missing, cannot be read, or the path is empty. Lets pending events be
// served between reading and closing: program-wide values may have changed when it returns.
[[nodiscard]] std::string readWholeFile(const std::string& path);

// Plain text for display inside HTML: double quote, "<" and ">" are escaped, each CR LF becomes CR LF + "<br>". The
// ampersand is left as it is. Rewrites its argument and returns it.
std::string& textToHtml(std::string& text);

// Adds the remaining session minutes to the title, " (27m)", unless form1.suppressTitleMinutes is set. Rewrites its
// argument and returns it.
std::string& pageTitleUpdate(std::string& page);

// A marker and what replaces every occurrence of it, letter case ignored.
using Marker = std::pair<std::string_view, std::string>;

// The common sequence: reads "\data\" + templateName and top.inc, fills "<!--SSTOP-->", then `pageMarkers` in their
// order (the page's own, "<!--SSPAGEDESC-->" among them), then version and session, then `lateMarkers`, then the reload
// tag at "<HEAD>" and the title.
[[nodiscard]] std::string fillPage(std::string_view templateName, const std::vector<Marker>& pageMarkers,
                                   const std::vector<Marker>& lateMarkers = {});

// "<html><body><h2>" + text + "</h2>" with a "Go Back" link.
[[nodiscard]] std::string messagePage(std::string_view text);

// The "HTTP 404" page.
[[nodiscard]] std::string notFoundPage();

}  // namespace vornelle
