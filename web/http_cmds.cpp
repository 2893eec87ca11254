#include "web/http_cmds.h"

#include "core/event_log.h"
#include "core/form1.h"
#include "core/numbers.h"
#include "core/shutdown.h"
#include "core/text.h"
#include "core/url_decode.h"
#include "pages/find_page.h"
#include "pages/inbox_page.h"
#include "pages/list_page.h"
#include "pages/settings_page.h"
#include "pages/spambox_page.h"
#include "pages/template.h"
#include "platform/files.h"
#include "web/config_update.h"
#include "web/listener.h"
#include "web/request.h"
#include "web/session.h"

namespace vornelle {
namespace {

struct Row {
  std::string_view name;    // the path begins with it, letter case ignored
  std::string (*answer)();  // without the line end that closes every answer
};

// The first row that an Inbox or SpamBox page is to show: all the text after "MSG=" as a number, 0 when it is
// none. -1 without "MSG=".
std::int16_t firstMessageNumber() {
  constexpr std::string_view kMarker = "MSG=";
  const std::size_t found = findNoCase(form1.requestPath, kMarker);
  if (found == std::string::npos) return -1;
  return toInt16(std::string_view(form1.requestPath).substr(found + kMarker.size())).value_or(0);
}

std::string icon() {
  return readWholeFile(applicationFolder() + "\\data\\vornelle.ico");
}

std::string displayInbox() {
  std::int16_t first = firstMessageNumber();
  return pageInbox(first);
}

std::string displaySpamBox() {
  std::int16_t first = firstMessageNumber();
  return pageSpamBox(first);
}

std::string findInLists() {
  return pageFind(requestParam("findinlists").value_or(""));
}

std::string unrecognizedPage() {
  LogWindowAdd("***Unrecognized page: " + form1.requestPath);
  return "<html><body><h3>Unrecognized page: " + form1.requestPath +
         "</h3><p>If problem persists, contact developer.</p></body></html>";
}

// The first row whose name the path begins with wins, so the order counts.
constexpr Row kRowsForEverybody[] = {
    {"UNLOADME", []() -> std::string { Form1_Unload(); }},
    {"LOGOUT.CGI", logout},
    {"INDEX.HTM", [] { return loginPage(""); }},
    {"LOGIN.CGI", login},
    {"vornelle.ico", icon},
};

constexpr Row kRowsWithSession[] = {
    {"DISPLAYINBOX.HTM", displayInbox},
    {"DISPLAYSPAMBOX.HTM", displaySpamBox},
    {"DISPLAYFRIENDLIST.HTM", [] { return pageList("FriendList"); }},
    {"DISPLAYSUBJECTLIST.HTM", [] { return pageList("SubjectList"); }},
    {"DISPLAYENEMYLIST.HTM", [] { return pageList("EnemyList"); }},
    {"FINDINLISTS.HTM", findInLists},
    {"CONFIG.HTM", pageSettings},
    {"CONFIGUPDATE.CGI", configUpdate},
    {"", unrecognizedPage},
};

template <std::size_t size>
const Row* findRow(const Row (&rows)[size]) {
  for (const Row& row : rows) {
    if (startsWithNoCase(form1.requestPath, row.name)) return &row;
  }
  return nullptr;
}

std::string pageOrAction() {
  if (const Row* const row = findRow(kRowsForEverybody)) return row->answer();
  if (!requestHasSession()) return sessionEndedPage();
  return findRow(kRowsWithSession)->answer();
}

}  // namespace

std::optional<std::string> dispatchRequest() {
  if (form1.requestPath.empty()) return std::nullopt;
  if (form1.requestPath == "/") {
    form1.requestPath = webServer.defaultPage;
  } else if (form1.requestPath.front() == '/') {
    form1.requestPath.erase(0, 1);
  }
  return pageOrAction() + "\r\n";
}

}  // namespace vornelle
