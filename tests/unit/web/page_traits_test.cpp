// What the page table tells of its rows.
#include "core/form1.h"
#include "tests/unit/web/web_test_support.h"
#include "web/http_cmds.h"

namespace vornelle {
namespace {

class PageTraitsTest : public WebTest {
 protected:
  PageTraitsTest() { logIn(); }
  static PageTraits of(const std::string& target) { return pageTraits(target + "?s=" + kSessionId); }
};

TEST_F(PageTraitsTest, AreThoseOfTheFirstNameThatBeginsThePathLetterCaseIgnored) {
  EXPECT_EQ(of("/displayemail.cgi").kind, PageKind::message);
  EXPECT_EQ(of("/DisplaySpam.cgi").kind, PageKind::message);
  EXPECT_EQ(of("/displayspambox.htm").kind, PageKind::page);  // begins like the message view
  EXPECT_EQ(of("/VORNELLE.ICO").kind, PageKind::icon);
  EXPECT_EQ(pageTraits("/").kind, PageKind::page);
  EXPECT_EQ(of("/foo.htm").kind, PageKind::unknown);
  EXPECT_EQ(of("//displayemail.cgi").kind, PageKind::unknown);  // one slash is stripped
}

TEST_F(PageTraitsTest, WithoutALiveSessionMostAreTheLoginPage) {
  for (const char* target : {"/displayemail.cgi?uidl=1&s=OLD", "/foo?s=OLD", "/mailfilter.cgi"}) {
    EXPECT_EQ(pageTraits(target).kind, PageKind::page) << target;
    EXPECT_EQ(pageTraits(target).work, PageWork::files) << target;
  }
  EXPECT_EQ(pageTraits("/UNLOADME").work, PageWork::action);
  EXPECT_EQ(pageTraits("/logout.cgi").work, PageWork::action);
}

TEST_F(PageTraitsTest, TellWhoseWishARequestMayBe) {
  for (const char* target : {"/", "/index.htm", "/INDEX.HTML"})
    EXPECT_EQ(pageTraits(target).asker, PageAsker::anybody) << target;
  for (const char* target : {"/UNLOADME", "/unloadme?x", "/logout.cgi"})
    EXPECT_EQ(pageTraits(target).asker, PageAsker::saidOwnPage) << target;
  for (const char* target : {"/login.cgi", "/vornelle.ico", "/delete.cgi", "/foo"})
    EXPECT_EQ(of(target).asker, PageAsker::ownPage) << target;
}

TEST_F(PageTraitsTest, ActionsChangeSomething) {
  for (const char* path : {"/deleterestore.cgi", "/delete.cgi", "/configupdate.cgi", "/addtolist.cgi",
                           "/deletefromlist.cgi", "/add2black.cgi", "/add2white.cgi", "/mailfilter.cgi"}) {
    EXPECT_EQ(of(path).kind, PageKind::page) << path;
    EXPECT_EQ(of(path).work, PageWork::action) << path;
  }
}

TEST_F(PageTraitsTest, ListsSearchSettingsAndTheLoginTakeFilesAlone) {
  for (const char* path :
       {"/displayfriendlist.htm", "/displaysubjectlist.htm", "/displayenemylist.htm", "/findinlists.htm",
        "/config.htm", "/index.htm", "/login.cgi", "/vornelle.ico", "/displayspam.cgi", "/foo"}) {
    EXPECT_EQ(of(path).work, PageWork::files) << path;
  }
}

TEST_F(PageTraitsTest, AListingTakesTheMailComponentUnlessTheHeldOneIsAskedFor) {
  for (const std::string path : {"/displayinbox.htm", "/displayspambox.htm"}) {
    EXPECT_EQ(of(path).work, PageWork::mailbox) << path;
    EXPECT_EQ(pageTraits(path + "?s=" + kSessionId + "&msg=-1").work, PageWork::mailbox) << path;
    EXPECT_EQ(pageTraits(path + "?s=" + kSessionId + "&msg=15").work, PageWork::files) << path;
    EXPECT_EQ(pageTraits(path + "?s=" + kSessionId + "&MSG=x").work, PageWork::files) << path;
  }
  EXPECT_EQ(of("/displayemail.cgi").work, PageWork::mailbox);
}

TEST_F(PageTraitsTest, ListingsFillTheRowTablesAndTheFormsOfTheirPagesGoByThem) {
  for (const char* path : {"/displayinbox.htm?msg=0&s=", "/displayspambox.htm?MSG=15&s="})
    EXPECT_EQ(pageTraits(std::string(path) + kSessionId).rows, PageRows::fills) << path;
  for (const char* path : {"/delete.cgi", "/deleterestore.cgi"})
    EXPECT_EQ(of(path).rows, PageRows::reads) << path;
  for (const char* path : {"/addtolist.cgi", "/preview.cgi", "/displayfriendlist.htm", "/displayspam.cgi"})
    EXPECT_EQ(of(path).rows, PageRows::none) << path;
}

}  // namespace
}  // namespace vornelle
