#include "pages/template.h"

#include <cstdint>
#include <optional>

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
  for (const auto& [marker, text] : pageMarkers) fill(page, marker, text);
  fill(page, "<!--SSVERSION-->", versionText());
  fill(page, "<!--SSSESSION-->", form1.sessionId);
  for (const auto& [marker, text] : lateMarkers) fill(page, marker, text);
  // No address in the tag: the browser asks for the same page again when the session is over and meets the
  // login page.
  const std::int64_t secondsLeft = sessionMinutesLeft() * 60;
  fill(page, "<HEAD>",
       "<head>\r\n<meta http-equiv='refresh' content='" + std::to_string(secondsLeft) + "'>\r\n");
  return pageTitleUpdate(page);
}

}  // namespace vornelle
