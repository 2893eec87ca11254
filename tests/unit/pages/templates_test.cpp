// The templates as they are shipped: what the page builders and the actions behind the forms need of them.
#include <fstream>
#include <iterator>
#include <regex>

#include "core/settings_table.h"
#include "mail/server_notes.h"
#include "pages/Inbox.h"
#include "pages/Spambox.h"
#include "pages/list_page.h"
#include "pages/settings_page.h"
#include "tests/unit/pages/pages_test_support.h"

namespace vornelle {
namespace {

using testing::HasSubstr;
using testing::Not;

constexpr const char* kTemplates[] = {"config.htm", "find.htm", "inbox.htm", "List.htm", "spambox.htm"};
constexpr const char* kFiles[] = {"config.htm", "find.htm",    "inbox.htm", "List.htm",
                                  "login.htm",  "spambox.htm", "top.inc"};

std::string shipped(const std::string& name) {
  std::ifstream file(VORNELLE_DATA_FOLDER "/" + name, std::ios::binary);
  EXPECT_TRUE(file) << name;
  return {std::istreambuf_iterator<char>(file), {}};
}

int count(std::string_view text, std::string_view find) {
  int n = 0;
  for (std::size_t at = 0; (at = findNoCase(text, find, at)) != std::string_view::npos; at += find.size())
    n++;
  return n;
}

class Templates : public PageTest {
 protected:
  Templates() {
    for (const char* name : kFiles) makeFile(std::string("\\data\\") + name, shipped(name));
    for (const char* list : {"friendlist", "subjectlist", "enemylist"}) {
      makeFile(std::string("\\data\\") + list + ".txt", "");
    }
  }

  static std::vector<std::string> allPages() {
    std::int16_t first = 0;
    std::vector<std::string> pages = {pageInbox(first), pageList("FriendList"), pageFind("x"),
                                      pageSettings()};
    first = 0;
    pages.push_back(pageSpamBox(first));
    return pages;
  }
};

TEST_F(Templates, EveryMarkerIsFilled) {
  for (const std::string& page : allPages()) EXPECT_THAT(page, Not(HasSubstr("<!--")));
}

TEST_F(Templates, EveryPageHasOneHeadWithTheReloadAndOneTitleWithTheMinutes) {
  for (const std::string& page : allPages()) {
    EXPECT_EQ(count(page, "<head>"), 1);
    EXPECT_THAT(page, HasSubstr("<head>\r\n<meta http-equiv='refresh' content='1800'>\r\n"));
    EXPECT_EQ(count(page, "</title>"), 1);
    EXPECT_THAT(page, HasSubstr(" (30m)</title>"));
    EXPECT_EQ(count(page, "</html>"), 1);
  }
}

TEST_F(Templates, TheMessagePagesAreCalledByTheirNames) {
  std::int16_t first = 0;
  EXPECT_THAT(pageInbox(first), HasSubstr("<title>Inbox - Vornelle (30m)</title>"));
  EXPECT_THAT(pageSpamBox(first), HasSubstr("<title>SpamBox - Vornelle (30m)</title>"));
}

TEST_F(Templates, EveryPageDeclaresItsCharacterSetBeforeAnyText) {
  for (const std::string& page : allPages()) {
    const std::size_t at = page.find("<meta charset=\"windows-1252\">");
    EXPECT_LT(at, page.find("<title>"));
    EXPECT_LT(at, 1024U);  // browsers look no further
  }
  EXPECT_LT(shipped("login.htm").find("<meta charset=\"windows-1252\">"), 1024U);
}

TEST_F(Templates, NothingOutsideIsReferredTo) {
  for (const char* name : kFiles) {
    const std::string text = replaceAll(shipped(name), "http://www.w3.org/2000/svg", "");
    for (const char* outside : {"http://", "https://", "src=", "url(", "@import", "='//", "=\"//"}) {
      EXPECT_THAT(text, Not(HasSubstr(outside))) << name;
    }
  }
}

TEST_F(Templates, EveryPageRunsItsOwnScriptsOnly) {
  // The policy of all pages behind the log-in stands in what they begin with.
  int ofPages = 0;
  for (const char* name : kTemplates) {
    const std::string text = shipped(name);
    ofPages += count(text, "<script>");
    EXPECT_EQ(count(text, "<script"), count(text, "<script>")) << name;
    EXPECT_FALSE(std::regex_search(text, std::regex("<[a-z][^>]*\\son[a-z]+="))) << name;
    EXPECT_THAT(text, Not(HasSubstr("Content-Security-Policy"))) << name;
  }
  EXPECT_GT(ofPages, 0);
  for (const char* name : {"top.inc", "login.htm"}) {
    const std::string text = shipped(name);
    const int scripts = count(text, "<script>");
    EXPECT_EQ(count(text, "<script"), scripts) << name;
    EXPECT_EQ(count(text, "'sha256-"), scripts + (std::string(name) == "top.inc" ? ofPages : 0)) << name;
    EXPECT_TRUE(std::regex_search(text, std::regex("script-src( 'sha256-[A-Za-z0-9+/]{43}=')+;"))) << name;
    EXPECT_THAT(text, HasSubstr("default-src 'none'")) << name;
    EXPECT_LT(text.find("Content-Security-Policy"), text.find("<script")) << name;
  }
}

TEST_F(Templates, TheSettingsPageSaysOfServerFieldsWhatTheDialogSays) {
  const std::string text = replaceAll(replaceAll(shipped("config.htm"), "<code>", ""), "</code>", "");
  EXPECT_THAT(text, HasSubstr("id=\"POP_SERVER-hint\">" + std::string(serverFieldHint(MailProtocol::pop3))));
  EXPECT_THAT(text, HasSubstr("id=\"SMTP_SERVER-hint\">" + std::string(serverFieldHint(MailProtocol::smtp))));
}

TEST_F(Templates, LineEndsAreCrLfAndTheListsAreShippedEmpty) {
  for (const char* name : kFiles) {
    const std::string text = shipped(name);
    EXPECT_EQ(count(text, "\n"), count(text, "\r\n")) << name;
  }
  for (const char* list : {"friendlist.txt", "subjectlist.txt", "enemylist.txt"})
    EXPECT_EQ(shipped(list), "");
}

TEST_F(Templates, EveryLinkAndFormBehindTheLogInCarriesTheSession) {
  const std::regex address("(?:action|href)=\"([a-z0-9]+\\.(?:cgi|htm)[^\"]*)\"");
  for (const char* name : {"config.htm", "find.htm", "inbox.htm", "List.htm", "spambox.htm", "top.inc"}) {
    const std::string text = shipped(name);
    for (std::sregex_iterator it(text.begin(), text.end(), address), end; it != end; ++it) {
      if ((*it)[1] == "logout.cgi") continue;
      EXPECT_THAT((*it)[1].str(), HasSubstr("?s=<!--SSSESSION-->")) << name;
    }
  }
}

TEST_F(Templates, EveryFormThatSendsFieldsEndsWithTheExtraOne) {
  const std::regex form("<form[^]*?</form>");
  for (const char* name : {"config.htm", "find.htm", "inbox.htm", "List.htm", "login.htm", "spambox.htm"}) {
    const std::string text = shipped(name);
    int forms = 0;
    for (std::sregex_iterator it(text.begin(), text.end(), form), end; it != end; ++it, forms++) {
      const std::string one = it->str();
      const std::size_t last = one.rfind("<input type=\"hidden\" name=\"END\" value=\"1\">");
      ASSERT_NE(last, std::string::npos) << name;
      // Nothing with a name of its own comes behind it.
      EXPECT_EQ(one.find(" name=", last + 30), std::string::npos) << name;
    }
    EXPECT_GT(forms, 0) << name;
  }
}

TEST_F(Templates, TheSubmitButtonsStandBeforeTheRows) {
  const std::string inbox = shipped("inbox.htm"), spambox = shipped("spambox.htm");
  EXPECT_LT(inbox.find("name=\"SUBMIT3\" value=\"DELETE\""), inbox.find("<!--SSINBOX-->"));
  EXPECT_LT(spambox.find("name=\"SUBMIT3\" value=\"RESTORE-DELETE\""), spambox.find("<!--SSSPAM-->"));
}

TEST_F(Templates, TheMessagePagesOfferToAddASenderToTheFriendListAndTheEnemyList) {
  for (const char* name : {"inbox.htm", "spambox.htm"}) {
    const std::string text = shipped(name);
    EXPECT_THAT(text, HasSubstr("name=\"form1\" method=\"post\" action=\"add2white.cgi?s=<!--SSSESSION-->\""))
        << name;
    EXPECT_THAT(text, HasSubstr("formaction=\"add2black.cgi?s=<!--SSSESSION-->\"")) << name;
    EXPECT_THAT(text, HasSubstr("id=\"addinput\" name=\"addtolist\"")) << name;
  }
}

TEST_F(Templates, WithoutASelectionTheEntryToRemoveArrivesEmpty) {
  const std::string text = shipped("List.htm");
  const std::size_t select = text.find("<select id=\"entries\" name=\"deletefromlist\"");
  const std::size_t fallback = text.find("<input type=\"hidden\" name=\"deletefromlist\" value=\"\">");
  EXPECT_NE(select, std::string::npos);
  EXPECT_LT(select, fallback);  // the first one that arrives is read
  EXPECT_NE(fallback, std::string::npos);
}

TEST_F(Templates, EverySettingHasItsFieldAndItsMarkerInIt) {
  const std::string text = shipped("config.htm");
  for (const Setting* setting : settingsOnPage()) {
    const std::string name(setting->field);
    const std::string marker = "<!--" + name + "-->";
    if (setting->isCheckBox()) {
      const std::string value = setting->box ? "1" : "TRUE";
      EXPECT_THAT(text, HasSubstr(" name=\"" + name + "\" value=\"" + value + "\" " + marker));
    } else {
      EXPECT_THAT(text, HasSubstr(" id=\"" + name + "\" name=\"" + name + "\" value=\"" + marker + "\""));
    }
  }
}

TEST_F(Templates, EveryFieldHasALabel) {
  const std::regex field("<(?:input type=\"(?:text|password|checkbox)\"|select)[^>]*>");
  for (const char* name : {"config.htm", "find.htm", "inbox.htm", "List.htm", "login.htm", "spambox.htm"}) {
    const std::string text = std::regex_replace(shipped(name), std::regex("<!--[A-Za-z_]+-->"), "");
    for (std::sregex_iterator it(text.begin(), text.end(), field), end; it != end; ++it) {
      std::smatch id;
      const std::string one = it->str();
      if (one.find("aria-label=") != std::string::npos) continue;
      ASSERT_TRUE(std::regex_search(one, id, std::regex(" id=\"([^\"]+)\""))) << name << ": " << one;
      EXPECT_THAT(text, HasSubstr("<label for=\"" + id[1].str() + "\"")) << name;
    }
  }
}

TEST_F(Templates, TheNavigationLeadsToEveryPage) {
  const std::string top = shipped("top.inc");
  for (const char* page :
       {"displayinbox.htm", "displayspambox.htm", "displayfriendlist.htm", "displaysubjectlist.htm",
        "displayenemylist.htm", "findinlists.htm", "config.htm", "mailfilter.cgi", "logout.cgi"}) {
    EXPECT_THAT(top, HasSubstr(std::string("=\"") + page));
  }
  EXPECT_THAT(top, HasSubstr("<!--SSVERSION-->"));
  // The search page reads its field wherever it stands first in the request: an address with an empty one,
  // ended by "&", searches for nothing.
  EXPECT_THAT(top, HasSubstr("findinlists.htm?s=<!--SSSESSION-->&amp;findinlists=&amp;END=1"));
}

TEST_F(Templates, TheRowsHaveTheirColours) {
  const std::string top = shipped("top.inc");
  EXPECT_THAT(top, HasSubstr("tr.tableBGcolor {"));
  EXPECT_THAT(top, HasSubstr("tr.tableBGcolor2 {"));
}

TEST_F(Templates, TheLogInPageHasARoomForTheNoticeAndOneForm) {
  const std::string text = shipped("login.htm");
  EXPECT_EQ(count(text, "<!--SSINFO-->"), 1);
  EXPECT_EQ(count(text, "<form"), 1);
  EXPECT_THAT(text, HasSubstr("name=\"POP_ACCOUNT\""));
  EXPECT_LT(text.find("name=\"POP_ACCOUNT\""), text.find("name=\"POP_PASSWORD\""));
}

}  // namespace
}  // namespace vornelle
