#include "web/session.h"

#include "base/text.h"
#include "core/event_log.h"
#include "core/form1.h"
#include "core/random_letters.h"
#include "core/settings.h"
#include "core/version.h"
#include "pages/browser_text.h"
#include "pages/template.h"
#include "platform/files.h"
#include "platform/meanwhile.h"
#include "web/request.h"

namespace vornelle {
namespace {

constexpr int kSessionIdLength = 64;

// The maker's announcement as a block of table rows, which the page hides while the text is empty; "" where a
// server has answered with a whole page of its own (an error page, a captive portal). In the middle of a wait
// for a mail server it is the text as it came last: fetching it may take seconds, and they would count as
// that server's.
std::string announcementBlock() {
  const std::string path = applicationFolder() + "\\message.txt";
  if (!waitingForServer()) openUrl(VORNELLE_ANNOUNCEMENT_URL, path);
  const std::string text = readWholeFile(path);
  if (containsNoCase(text, "<html>")) return "";
  return "\r\n<tr><td colspan='2'><p>" + pageText(text) +
         "</p></td></tr><tr><td colspan='2'>&nbsp;</td></tr>";
}

// The place behind the ">" that closes the first form tag; npos without one.
std::size_t behindFormTag(std::string_view page) {
  const std::size_t tag = findNoCase(page, "<form");
  if (tag == std::string_view::npos) return tag;
  const std::size_t close = page.find('>', tag);
  return close == std::string_view::npos ? close : close + 1;
}

}  // namespace

void Timer2_Timer() {
  if (form1.sessionMinutesUsed < settings.SESSION_MIN) return;
  form1.sessionMinutesUsed = 0;
  form1.sessionId = "";
}

bool holdsSession(std::string_view path) {
  return !form1.sessionId.empty() && path.find(form1.sessionId) != std::string_view::npos;
}

std::string login() {
  const std::string account = requestParam("POP_ACCOUNT").value_or("");
  const std::string password = requestParam("POP_PASSWORD").value_or("");
  if (!equalsNoCase(account, settings.POP_ACCOUNT) || !equalsNoCase(password, settings.POP_PASSWORD)) {
    LogWindowAdd("Bad login: " + account + ", " + password);
    return "<script language='Javascript'>alert('Login incorrect!');history.back()</script>";
  }
  form1.sessionId = randomLetters(kSessionIdLength);
  form1.sessionMinutesUsed = 0;
  LogWindowAdd("Successful login: " + account);
  return locationScript("displaySpambox.htm");
}

std::string locationScript(std::string_view page, std::string_view before) {
  return "<script language='Javascript'>" + std::string(before) + "window.location='" + std::string(page) +
         "?s=" + form1.sessionId + "'</script>";
}

std::string logout() {
  form1.sessionId = "";
  LogWindowAdd("Logout");
  return "<script language='Javascript'>window.location='/'</script>";
}

std::string loginPage(std::string_view notice) {
  std::string page = readWholeFile(applicationFolder() + "\\data\\login.htm");
  page = replaceAllNoCase(page, "<!--SSVERSION-->", versionText());
  page = replaceAllNoCase(page, "<!--SSGUIDE-->", guideAddress());
  if (!notice.empty()) {
    const std::string row =
        "<tr><td colspan='2'><p><b><i>\r\n" + std::string(notice) + "\r\n</i></b></p></td></tr>\r\n";
    page = replaceAllNoCase(page, "<!--SSINFO-->", row);
  }
  const std::string block = announcementBlock();
  const std::size_t place = behindFormTag(page);
  if (place != std::string::npos) page.insert(place, block);

  form1.suppressTitleMinutes = true;
  pageTitleUpdate(page);
  form1.suppressTitleMinutes = false;
  return page;
}

std::string sessionEndedPage() {
  return loginPage("Your session has ended. Please login again. Your sessions last " +
                   std::to_string(settings.SESSION_MIN) + " minutes.");
}

}  // namespace vornelle
