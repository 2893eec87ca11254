#include "web/http_cmds.h"

#include "tests/unit/web/dispatch_test_support.h"

namespace vornelle {
namespace {

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

// ---- without a session ----

TEST_F(DispatchTest, TheRootIsTheLoginPage) {
  EXPECT_THAT(get("/"), StartsWith("<html><head><title>Login</title>"));
  EXPECT_THAT(get("/"), Not(HasSubstr(kEndedNotice)));
}

TEST_F(DispatchTest, APathIsMatchedByItsBeginningWithoutRegardToLetterCase) {
  const std::string page = get("/");
  for (const char* const path :
       {"/INDEX.HTM", "/index.htm?x", "/index.html", "index.htm", "/Index.Htm/more"}) {
    EXPECT_EQ(get(path), page) << path;
  }
}

TEST_F(DispatchTest, EveryAnswerEndsInALineEndAndHasNoHeader) {
  EXPECT_EQ(get("/logout.cgi"), kLogoutAnswer);
  EXPECT_THAT(get("/"), testing::EndsWith("</html>\r\n"));
}

TEST_F(DispatchTest, OnlyOneLeadingSlashIsStripped) {
  get("//index.htm");
  EXPECT_EQ(logged("/index.htm request complete!"), 1);
}

TEST_F(DispatchTest, UnloadmeEndsTheProgramWithoutALoginAnAnswerOrALineOfItsOwn) {
  sim::Client client = connected();
  client.send("GET /UNLOADME HTTP/1.0\r\n\r\n");
  EXPECT_THROW(sim::advance(0), sim::ProcessEnded);
  EXPECT_EQ(client.received(), "");
  EXPECT_THAT(form1.LogWindow.text(), Not(HasSubstr("UNLOADME")));
  EXPECT_EQ(logged("***Closing Vornelle***"), 1);
}

TEST_F(DispatchTest, UnloadmeMatchesInAnyLetterCase) {
  sim::Client client = connected();
  client.send("GET /unloadme?really HTTP/1.0\r\n\r\n");
  EXPECT_THROW(sim::advance(0), sim::ProcessEnded);
}

TEST_F(DispatchTest, LogoutNeedsNoSessionAndEndsAnyonesSession) {
  logIn();
  EXPECT_EQ(get("/LOGOUT.CGI"), kLogoutAnswer);
  EXPECT_EQ(form1.sessionId, "");
  EXPECT_EQ(logged("Logout"), 1);
}

TEST_F(DispatchTest, ALoginOverTheWire) {
  settings.POP_ACCOUNT = "joe";
  settings.POP_PASSWORD = "secret";
  const std::string answer =
      answerTo("POST /login.cgi HTTP/1.1\r\nHost: x\r\n\r\nPOP_ACCOUNT=joe&POP_PASSWORD=secret&go=1");
  EXPECT_EQ(answer, "<script language='Javascript'>window.location='displaySpambox.htm?s=" + form1.sessionId +
                        "'</script>\r\n");
  EXPECT_EQ(answerTo("POST /login.cgi HTTP/1.1\r\n\r\nPOP_ACCOUNT=joe&POP_PASSWORD=no&go=1"),
            "<script language='Javascript'>alert('Login incorrect!');history.back()</script>\r\n");
}

TEST_F(DispatchTest, TheIconReachesTheBrowserUnchanged) {
  std::string bytes;
  for (int i = 0; i < 70000; ++i) bytes += static_cast<char>(i * 7);
  makeFile("\\data\\vornelle.ico", bytes);
  EXPECT_EQ(get("/vornelle.ico"), bytes + "\r\n");
  EXPECT_EQ(get("/VORNELLE.ICO?1"), bytes + "\r\n");
}

TEST_F(DispatchTest, AMissingIconIsALineEnd) {
  EXPECT_EQ(get("/vornelle.ico"), "\r\n");
}

TEST_F(DispatchTest, TheRootIsWhateverPageIsTheDefaultOne) {
  webServer.defaultPage = "logout.cgi";
  EXPECT_EQ(get("/"), kLogoutAnswer);
  EXPECT_EQ(logged("logout.cgi request complete!"), 1);
}

// ---- the session test ----

TEST_F(DispatchTest, EverythingElseNeedsTheLiveSession) {
  logIn();
  for (const char* const page :
       {"displayinbox.htm", "displayemail.cgi", "deleterestore.cgi", "delete.cgi", "displayspambox.htm",
        "displayspam.cgi", "displayfriendlist.htm", "displaysubjectlist.htm", "displayenemylist.htm",
        "findinlists.htm", "config.htm", "configupdate.cgi", "addtolist.cgi", "deletefromlist.cgi",
        "add2black.cgi", "add2white.cgi", "mailfilter.cgi", "foo.htm"}) {
    for (const std::string& query : {std::string(), std::string("?s="), "?s=" + std::string(64, 'A')}) {
      EXPECT_THAT(get("/" + std::string(page) + query), HasSubstr(kEndedNotice)) << page << query;
    }
  }
  EXPECT_THAT(form1.LogWindow.text(), Not(HasSubstr("***")));
}

TEST_F(DispatchTest, WithNobodyLoggedInAnEmptyIdIsNoSession) {
  EXPECT_THAT(get("/displayinbox.htm?s="), HasSubstr(kEndedNotice));
}

TEST_F(DispatchTest, TheIdInThePostedBodyIsNoSession) {
  logIn();
  EXPECT_THAT(answerTo("POST /config.htm HTTP/1.1\r\n\r\ns=" + kSessionId + "&"), HasSubstr(kEndedNotice));
}

TEST_F(DispatchTest, TheIdInAnotherParameterIsOne) {
  logIn();
  EXPECT_EQ(get("/config.htm?x=" + kSessionId), "CONFIG\r\n");
}

// ---- pages ----

TEST_F(DispatchTest, PagesWithASession) {
  logIn();
  EXPECT_THAT(getWithSession("displayinbox.htm"), StartsWith("INBOX "));
  EXPECT_THAT(getWithSession("DisplaySpambox.htm"), StartsWith("SPAMBOX "));
  EXPECT_EQ(getWithSession("displayfriendlist.htm"), "LIST FriendList \r\n");
  EXPECT_EQ(getWithSession("displaySUBJECTLIST.htm"), "LIST SubjectList \r\n");
  EXPECT_EQ(getWithSession("displayEnemyList.htm"), "LIST EnemyList \r\n");
  EXPECT_EQ(getWithSession("CONFIG.HTM"), "CONFIG\r\n");
}

TEST_F(DispatchTest, TheSearchTakesItsTextFromTheForm) {
  logIn();
  EXPECT_THAT(postWithSession("findinlists.htm", "findinlists=a<b&END="),
              HasSubstr("<b>Last search: </b>a<b</p>"));
}

TEST_F(DispatchTest, ASearchWhoseTextCannotBeReadIsAnEmptyOne) {
  logIn();
  EXPECT_THAT(getWithSession("findinlists.htm"), HasSubstr("<b>Last search: </b></p>"));
}

TEST_F(DispatchTest, TheSearchTextMayHoldLettersOutsideTheCodePage) {
  logIn();
  EXPECT_THAT(postWithSession("findinlists.htm", "findinlists=%26#1087;%26%231088%3B%26lt;&END="),
              HasSubstr("<b>Last search: </b>&#1087;&#1088;%26lt;</p>"));
}

TEST_F(DispatchTest, AnUnrecognizedPageIsLoggedAndShown) {
  logIn();
  const std::string path = "foo.htm?s=" + kSessionId;
  EXPECT_EQ(get("/" + path), "<html><body><h3>Unrecognized page: " + path +
                                 "</h3><p>If problem persists, contact developer.</p></body></html>\r\n");
  EXPECT_EQ(logged("***Unrecognized page: foo.htm"), 1);  // the log cuts session ids out
}

// ---- the first message number ----

class FirstMessageTest : public DispatchTest {
 protected:
  FirstMessageTest() {
    logIn();
    settings.MESSAGES_PER_PAGE = 1;
    for (int i = 0; i < 20; ++i) {
      makeFile("\\spam\\m" + std::to_string(i) + ".txt", "Subject: x\r\n\r\nx\r\n");
    }
    getWithSession("displayspambox.htm");
  }

  static std::string shown(std::string_view query) { return getWithSession("displayspambox.htm", query); }
};

TEST_F(FirstMessageTest, TheNumberBehindMsgIsTheFirstRow) {
  EXPECT_THAT(shown("&MSG=16"), HasSubstr("(showing 17 - 17 of 20)"));
  EXPECT_THAT(shown("&msg=16"), HasSubstr("(showing 17 - 17 of 20)"));
  EXPECT_THAT(shown("&msg=-10"), HasSubstr("(showing 1 - 1 of 20)"));
}

TEST_F(FirstMessageTest, TextThatIsNoNumberIsRowZero) {
  for (const char* const query : {"&msg=", "&msg=x", "&msg=5x", "&msg=5&x=1", "&msg=40000"}) {
    EXPECT_THAT(shown(query), HasSubstr("(showing 1 - 1 of 20)")) << query;
  }
}

TEST_F(FirstMessageTest, TextThatIsNoNumberKeepsTheListing) {
  makeFile("\\spam\\more.txt", "Subject: x\r\n\r\nx\r\n");
  EXPECT_THAT(shown("&msg=x"), HasSubstr("of 20)"));
}

TEST_F(FirstMessageTest, EverythingUpToTheEndOfThePathCounts) {
  EXPECT_THAT(get("/displayspambox.htm?msg=5&s=" + kSessionId), HasSubstr("(showing 1 - 1 of 20)"));
}

TEST_F(FirstMessageTest, WithoutMsgTheListingIsMadeAnew) {
  makeFile("\\spam\\more.txt", "Subject: x\r\n\r\nx\r\n");
  EXPECT_THAT(shown("&msg=0"), HasSubstr("of 20)"));
  EXPECT_THAT(shown(""), HasSubstr("of 21)"));
  makeFile("\\spam\\more2.txt", "Subject: x\r\n\r\nx\r\n");
  EXPECT_THAT(shown("&msg=-1"), HasSubstr("of 22)"));
}

}  // namespace
}  // namespace vornelle
