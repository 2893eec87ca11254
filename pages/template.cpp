#include "pages/template.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "base/text.h"
#include "core/form1.h"
#include "core/settings.h"
#include "core/version.h"
#include "pages/status.h"
#include "platform/events.h"
#include "platform/files.h"

namespace vornelle {
namespace {

std::int64_t sessionMinutesLeft() {
  return std::int64_t{settings.SESSION_MIN} - form1.sessionMinutesUsed;
}

// As replaceAllNoCase. Most markers stand once in a page or not at all, and it is not copied for those.
void fill(std::string& page, std::string_view marker, std::string_view text) {
  const std::size_t first = findNoCase(page, marker);
  if (first == std::string::npos) return;
  if (findNoCase(page, marker, first + marker.size()) == std::string::npos) {
    page.replace(first, marker.size(), text);
  } else {
    page = replaceAllNoCase(page, marker, text);
  }
}

// The longest stretch of the page in which no marker begins: the scripts of top.inc, as a rule. Every marker
// begins like one of these and ends at a ">".
std::string_view longestPlainStretch(std::string_view page) {
  constexpr std::string_view kBeginnings[] = {"<!--", "<HEAD>", "</TITLE>"};
  std::vector<std::size_t> places = {page.size()};
  for (const std::string_view beginning : kBeginnings) {
    for (std::size_t at = 0; (at = findNoCase(page, beginning, at)) != std::string::npos; ++at) {
      places.push_back(at);
    }
  }
  std::sort(places.begin(), places.end());
  std::string_view longest = page.substr(0, 0);
  std::size_t from = 0;
  for (const std::size_t place : places) {
    if (place > from && place - from > longest.size()) longest = page.substr(from, place - from);
    from = std::min(page.find('>', place), page.size() - 1) + 1;
  }
  return longest;
}

// Runs `work` on what stands before and behind the page's longest plain stretch, which may be most of it:
// each marker would make the program look through it, and move it.
template <typename Work>
std::string withoutPlainStretch(std::string page, const Work& work) {
  const std::string_view plain = longestPlainStretch(page);
  const auto start = static_cast<std::size_t>(plain.data() - page.data());
  const std::string aside(plain);
  std::string behind = page.substr(start + aside.size());
  page.resize(start);
  work(page);
  work(behind);
  return page.append(aside).append(behind);
}

}  // namespace

std::string readWholeFile(const std::string& path) {
  if (path.empty()) return "";
  std::optional<std::string> text = readFile(path);
  if (!text && !fileExists(path)) return "";
  doEvents();
  return std::move(text).value_or("");
}

std::string_view guideAddress() {
  return form1.requestByGateway ? "guide.htm" : "";
}

std::string& pageTitleUpdate(std::string& page) {
  if (!form1.suppressTitleMinutes) {
    fill(page, "</TITLE>", " (" + std::to_string(sessionMinutesLeft()) + "m)</title>");
  }
  return page;
}

std::string readTemplate(std::string_view templateName) {
  std::string page = readWholeFile(applicationFolder() + "\\data\\" + std::string(templateName));
  fill(page, "<!--SSTOP-->", readWholeFile(applicationFolder() + "\\data\\top.inc"));
  // Only the gateway tells the status.
  const bool tells = form1.requestByGateway;
  fill(page, "<!--SSGUIDE-->", guideAddress());
  fill(page, "<!--SSSTATUS-->", tells ? "status.json?s=" + form1.sessionId : std::string());
  fill(page, "<!--SSNOW-->", tells ? statusAttribute() : std::string());
  return page;
}

std::string fillPage(std::string page, const std::vector<Marker>& pageMarkers,
                     const std::vector<Marker>& lateMarkers) {
  return withoutPlainStretch(std::move(page), [&](std::string& rest) {
    for (const auto& [marker, text] : pageMarkers) fill(rest, marker, text);
    fill(rest, "<!--SSVERSION-->", versionText());
    fill(rest, "<!--SSSESSION-->", form1.sessionId);
    for (const auto& [marker, text] : lateMarkers) fill(rest, marker, text);
    // No address in the tag: the browser asks for the same page again when the session is over and meets the
    // login page.
    const std::int64_t secondsLeft = sessionMinutesLeft() * 60;
    fill(rest, "<HEAD>",
         "<head>\r\n<meta http-equiv='refresh' content='" + std::to_string(secondsLeft) + "'>\r\n");
    pageTitleUpdate(rest);
  });
}

}  // namespace vornelle
