#include "pages/template.h"

#include <cstdint>

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

}  // namespace

std::string readWholeFile(const std::string& path) {
  if (!fileExists(path)) return "";
  if (path.empty()) return "";
  std::string text = readFile(path).value_or("");
  doEvents();
  return text;
}

std::string_view guideAddress() {
  return form1.requestByGateway ? "guide.htm" : "";
}

std::string& pageTitleUpdate(std::string& page) {
  if (!form1.suppressTitleMinutes) {
    page = replaceAllNoCase(page, "</TITLE>", " (" + std::to_string(sessionMinutesLeft()) + "m)</title>");
  }
  return page;
}

std::string readTemplate(std::string_view templateName) {
  const std::string page = readWholeFile(applicationFolder() + "\\data\\" + std::string(templateName));
  std::string whole =
      replaceAllNoCase(page, "<!--SSTOP-->", readWholeFile(applicationFolder() + "\\data\\top.inc"));
  // Only the gateway tells the status.
  const bool tells = form1.requestByGateway;
  whole = replaceAllNoCase(whole, "<!--SSGUIDE-->", guideAddress());
  whole =
      replaceAllNoCase(whole, "<!--SSSTATUS-->", tells ? "status.json?s=" + form1.sessionId : std::string());
  return replaceAllNoCase(whole, "<!--SSNOW-->", tells ? statusAttribute() : std::string());
}

std::string fillPage(std::string page, const std::vector<Marker>& pageMarkers,
                     const std::vector<Marker>& lateMarkers) {
  for (const auto& [marker, text] : pageMarkers) page = replaceAllNoCase(page, marker, text);
  page = replaceAllNoCase(page, "<!--SSVERSION-->", versionText());
  page = replaceAllNoCase(page, "<!--SSSESSION-->", form1.sessionId);
  for (const auto& [marker, text] : lateMarkers) page = replaceAllNoCase(page, marker, text);
  // No address in the tag: the browser asks for the same page again when the session is over and meets the
  // login page.
  const std::int64_t secondsLeft = sessionMinutesLeft() * 60;
  page = replaceAllNoCase(
      page, "<HEAD>",
      "<head>\r\n<meta http-equiv='refresh' content='" + std::to_string(secondsLeft) + "'>\r\n");
  return pageTitleUpdate(page);
}

}  // namespace vornelle
