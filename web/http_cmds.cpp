#include "web/http_cmds.h"

#include "base/numbers.h"
#include "base/text.h"
#include "base/url_decode.h"
#include "core/activity.h"
#include "core/event_log.h"
#include "core/form1.h"
#include "mail/filter_lists.h"
#include "mail/schedule.h"
#include "pages/Inbox.h"
#include "pages/Spambox.h"
#include "pages/browser_text.h"
#include "pages/list_page.h"
#include "pages/message_actions.h"
#include "pages/settings_page.h"
#include "pages/template.h"
#include "platform/events.h"
#include "platform/files.h"
#include "platform/modGoToSleep.h"
#include "web/config_update.h"
#include "web/list_actions.h"
#include "web/listener.h"
#include "web/preview.h"
#include "web/request.h"
#include "web/session.h"

namespace vornelle {
namespace {

struct Row {
  std::string_view name;    // the path begins with it, letter case ignored
  std::string (*answer)();  // without the line end that closes every answer
  PageTraits traits;
};

// The first row that an Inbox or SpamBox page is to show: all the text after "MSG=" as a number, 0 when it is
// none. -1 without "MSG=".
std::int16_t firstMessageNumber(std::string_view path) {
  constexpr std::string_view kMarker = "MSG=";
  const std::size_t found = findNoCase(path, kMarker);
  if (found == std::string_view::npos) return -1;
  return toInt16(path.substr(found + kMarker.size())).value_or(0);
}

std::string icon() {
  return readWholeFile(applicationFolder() + "\\data\\vornelle.ico");
}

std::string displayInbox() {
  std::int16_t first = firstMessageNumber(form1.requestPath);
  return pageInbox(first);
}

std::string displaySpamBox() {
  std::int16_t first = firstMessageNumber(form1.requestPath);
  return pageSpamBox(first);
}

// The message that one of the gateway's own pages names; "" for any other address.
std::string keyFromOwnPage() {
  return form1.requestByGateway ? queryValue(form1.requestPath, "k") : "";
}

// A display action's page is decoded as a whole, whatever stands in the message.
std::string displayEmail() {
  const std::string key = keyFromOwnPage();
  if (!key.empty()) return urlDecode(showMessage(key, Named::exactly));
  return urlDecode(showMessage(firstParamValue(form1.requestPath)));
}

std::string displaySpam() {
  const std::string key = keyFromOwnPage();
  if (!key.empty()) return urlDecode(showSpam(key + ".txt", Named::exactly));
  return urlDecode(showSpam(firstParamValue(form1.requestPath)));
}

// A large form arrives in several receives, each of which replaces requestText: the action starts once
// nothing more has come for a while. One that was handed over is whole, and no pause holds up what else a
// browser asks for.
void waitForWholeForm() {
  if (form1.requestByGateway) return;
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
  if (!form1.requestByGateway) pause(5000);
  deleteChecked("INBOX");
  return locationScript("displayinbox.htm");
}

// The page of the list that was changed.
std::string listPageScript() {
  return locationScript("display" + requestParam("type").value_or("") + ".htm");
}

std::string addToList() {
  addToListAction();
  return listPageScript();
}

std::string deleteFromList() {
  deleteFromListAction();
  return listPageScript();
}

// The buttons on the message pages.
std::string addToListAndGoBack(std::string_view list) {
  addToListAction(list);
  return "<script language='Javascript'>history.back()</script>";
}

std::string filterNow() {
  cmdFilterMailClick();
  return locationScript("displayspambox.htm");
}

std::string findInLists() {
  return pageFind(decodePostedReferences(requestParam("findinlists").value_or("")));
}

std::string unrecognizedPage() {
  LogWindowAdd("***Unrecognized page: " + form1.requestPath);
  return "<html><body><h3>Unrecognized page: " + pageText(form1.requestPath) +
         "</h3><p>If problem persists, contact developer.</p></body></html>";
}

constexpr PageTraits kPage{PageKind::page, PageWork::files};
constexpr PageTraits kMailPage{PageKind::page,
                               PageWork::mailbox};  // from the held listing where MSG= asks for it
constexpr PageTraits kHeldPage{PageKind::page, PageWork::files, PageRows::fills};
constexpr PageTraits kAction{PageKind::page, PageWork::action};
constexpr PageTraits kRowAction{PageKind::page, PageWork::action, PageRows::reads};
constexpr PageTraits kEnd{PageKind::page, PageWork::action, PageRows::none, PageAsker::saidOwnPage};
constexpr PageTraits kStart{PageKind::page, PageWork::files, PageRows::none, PageAsker::anybody};

// The first row whose name the path begins with wins, so the order counts.
constexpr Row kRowsForEverybody[] = {
    {"UNLOADME", []() -> std::string { Form1_Unload(); }, kEnd},
    {"LOGOUT.CGI", logout, kEnd},
    {"INDEX.HTM", [] { return loginPage(""); }, kStart},
    {"LOGIN.CGI", login, kPage},  // nobody has to wait behind a filter run to be let in
    {"vornelle.ico", icon, {PageKind::icon, PageWork::files}},
};

constexpr Row kRowsWithSession[] = {
    {"DISPLAYINBOX.HTM", displayInbox, kMailPage},
    {"DISPLAYEMAIL.CGI", displayEmail, {PageKind::message, PageWork::mailbox}},
    {"DELETERESTORE.CGI", deleteRestore, kRowAction},
    {"DELETE.CGI", deleteMail, kRowAction},
    {"DISPLAYSPAMBOX.HTM", displaySpamBox, kMailPage},
    {"DISPLAYSPAM.CGI", displaySpam, {PageKind::message, PageWork::files}},
    {"DISPLAYFRIENDLIST.HTM", [] { return pageList("FriendList"); }, kPage},
    {"DISPLAYSUBJECTLIST.HTM", [] { return pageList("SubjectList"); }, kPage},
    {"DISPLAYENEMYLIST.HTM", [] { return pageList("EnemyList"); }, kPage},
    {"FINDINLISTS.HTM", findInLists, kPage},
    {"CONFIG.HTM", pageSettings, kPage},
    {"CONFIGUPDATE.CGI", configUpdate, kAction},
    {"ADDTOLIST.CGI", addToList, kAction},
    {"DELETEFROMLIST.CGI", deleteFromList, kAction},
    {"ADD2BLACK.CGI", [] { return addToListAndGoBack(kEnemyList); }, kAction},
    {"ADD2WHITE.CGI", [] { return addToListAndGoBack(kFriendList); }, kAction},
    {"MAILFILTER.CGI", filterNow, kAction},
    {"", unrecognizedPage, {PageKind::unknown, PageWork::files}},
};

constexpr std::string_view kPreview = "PREVIEW.HTM";

// The plain wire knows none of these.
constexpr Row kRowsOfGateway[] = {
    {"ACCEPTCERTIFICATE.CGI", acceptCertificatePosted, kAction},
    {"EARLIERLOGIN.CGI", putEarlierLogInBack, kAction},
    {kPreview, previewPage, kPage},  // one of a message on the server takes the mail component
    {"PREVIEW.CGI", previewAction, kAction},
};

template <std::size_t size>
const Row* findRow(const Row (&rows)[size], std::string_view path) {
  for (const Row& row : rows) {
    if (startsWithNoCase(path, row.name)) return &row;
  }
  return nullptr;
}

// A page or action behind the log-in. The last row of the table fits every path.
const Row& rowWithSession(std::string_view path, bool throughGateway) {
  const Row* const own = throughGateway ? findRow(kRowsOfGateway, path) : nullptr;
  return own ? *own : *findRow(kRowsWithSession, path);
}

// The path as the table knows it.
std::string_view withoutSlash(std::string_view target) {
  if (target == "/") return webServer.defaultPage;
  return target.starts_with('/') ? target.substr(1) : target;
}

std::string pageOrAction() {
  if (const Row* const row = findRow(kRowsForEverybody, form1.requestPath)) return row->answer();
  if (!holdsSession(form1.requestPath)) return sessionEndedPage();
  return rowWithSession(form1.requestPath, form1.requestByGateway).answer();
}

}  // namespace

PageTraits pageTraits(std::string_view target) {
  const std::string_view path = withoutSlash(target);
  if (const Row* const row = findRow(kRowsForEverybody, path)) return row->traits;
  if (!holdsSession(path)) return kPage;
  if (startsWithNoCase(path, kPreview)) return previewTakesMailbox(path) ? kMailPage : kPage;
  const PageTraits& traits = rowWithSession(path, true).traits;
  const bool listing = traits.kind == PageKind::page && traits.work == PageWork::mailbox;
  return listing && firstMessageNumber(path) != -1 ? kHeldPage : traits;
}

std::optional<std::string> dispatchRequest() {
  if (form1.requestPath.empty()) return std::nullopt;
  form1.requestPath = std::string(withoutSlash(form1.requestPath));
  return pageOrAction() + "\r\n";
}

}  // namespace vornelle
