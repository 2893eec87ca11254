#include "web/http_cmds.h"

#include "base/numbers.h"
#include "base/text.h"
#include "base/url_decode.h"
#include "core/event_log.h"
#include "core/form1.h"
#include "core/shutdown.h"
#include "mail/filter_lists.h"
#include "mail/filter_run.h"
#include "pages/find_page.h"
#include "pages/inbox_page.h"
#include "pages/list_page.h"
#include "pages/message_actions.h"
#include "pages/settings_page.h"
#include "pages/spambox_page.h"
#include "pages/template.h"
#include "platform/events.h"
#include "platform/files.h"
#include "platform/modGoToSleep.h"
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

std::string locationScript(const std::string& page) {
  return "<script language='Javascript'>window.location='" + page + "?s=" + form1.sessionId + "'</script>";
}

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

// A display action's page is decoded as a whole, whatever stands in the message.
std::string displayEmail() {
  return urlDecode(showMessage(firstParamValue(form1.requestPath)));
}

std::string displaySpam() {
  return urlDecode(showSpam(firstParamValue(form1.requestPath)));
}

// A large form arrives in several receives, each of which replaces requestText: the action starts once
// nothing more has come for a while.
void waitForWholeForm() {
  pause(2000);
  std::string last = "xxx";
  while (!equalsNoCase(form1.requestText, last)) {
    last = form1.requestText;
    pause(1500);
    doEvents();
  }
}

std::string deleteRestore() {
  waitForWholeForm();
  deleteChecked("SPAMBOX");
  return locationScript("displayspambox.htm");
}

std::string deleteMail() {
  pause(5000);
  deleteChecked("INBOX");
  return locationScript("displayinbox.htm");
}

std::string addToList() {
  const std::string item = requestParam("addtolist").value_or("");
  const std::string type = requestParam("type").value_or("");
  if (const FilterListInfo* const list = findList(type)) listAdd(list->name, item);
  return locationScript("display" + type + ".htm");
}

std::string deleteFromList() {
  const std::string line = requestParam("deletefromlist").value_or("");
  const std::string type = requestParam("type").value_or("");
  listRemoveLine(type, line);
  return locationScript("display" + type + ".htm");
}

// The buttons on the message pages.
std::string addToListAndGoBack(std::string_view list) {
  listAdd(list, requestParam("ADDTOLIST").value_or(""));
  return "<script language='Javascript'>history.back()</script>";
}

std::string filterNow() {
  LogWindowAdd("Filter mail (user request)");
  mailFilter();
  return locationScript("displayspambox.htm");
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
    {"DISPLAYEMAIL.CGI", displayEmail},
    {"DELETERESTORE.CGI", deleteRestore},
    {"DELETE.CGI", deleteMail},
    {"DISPLAYSPAMBOX.HTM", displaySpamBox},
    {"DISPLAYSPAM.CGI", displaySpam},
    {"DISPLAYFRIENDLIST.HTM", [] { return pageList("FriendList"); }},
    {"DISPLAYSUBJECTLIST.HTM", [] { return pageList("SubjectList"); }},
    {"DISPLAYENEMYLIST.HTM", [] { return pageList("EnemyList"); }},
    {"FINDINLISTS.HTM", findInLists},
    {"CONFIG.HTM", pageSettings},
    {"CONFIGUPDATE.CGI", configUpdate},
    {"ADDTOLIST.CGI", addToList},
    {"DELETEFROMLIST.CGI", deleteFromList},
    {"ADD2BLACK.CGI", [] { return addToListAndGoBack(kEnemyList); }},
    {"ADD2WHITE.CGI", [] { return addToListAndGoBack(kFriendList); }},
    {"MAILFILTER.CGI", filterNow},
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
