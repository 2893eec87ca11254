// Filling page templates: the helpers that all pages share and the common sequence.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace vornelle {

// The whole content of a file, "" when it is missing, cannot be read, or the path is empty. Lets pending
// events be served between reading and closing: program-wide values may have changed when it returns.
[[nodiscard]] std::string readWholeFile(const std::string& path);

// Adds the remaining session minutes to the title, " (27m)", unless form1.suppressTitleMinutes is set.
// Rewrites its argument and returns it.
std::string& pageTitleUpdate(std::string& page);

// A marker and what replaces every occurrence of it, letter case ignored.
using Marker = std::pair<std::string_view, std::string>;

// The first half of the common sequence: reads "\data\" + templateName and top.inc and fills "<!--SSTOP-->"
// and, in a page that goes through the gateway, "<!--SSGUIDE-->", "<!--SSSTATUS-->" and "<!--SSNOW-->": the
// address of the user's guide, that of the status, and the status now. Lets events in: what a page shows is
// looked up before or after it, as the page says.
[[nodiscard]] std::string readTemplate(std::string_view templateName);

// Where the user's guide is for the request that is being answered: "" over the plain wire, which has none.
[[nodiscard]] std::string_view guideAddress();

// The second half: fills `pageMarkers` in their order (the page's own, "<!--SSPAGEDESC-->" among them), then
// version and session, then `lateMarkers`, then the reload tag at "<HEAD>" and the title.
[[nodiscard]] std::string fillPage(std::string page, const std::vector<Marker>& pageMarkers,
                                   const std::vector<Marker>& lateMarkers = {});

}  // namespace vornelle
