#include "web/http_cmds.h"

#include <vector>

#include "core/text.h"
#include "platform/events.h"
#include "tests/unit/mail/sim_maildrop.h"
#include "tests/unit/web/web_test_support.h"

namespace vornelle {
namespace {

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

constexpr const char* kLogoutAnswer = "<script language='Javascript'>window.location='/'</script>\r\n";
constexpr const char* kBackAnswer = "<script language='Javascript'>history.back()</script>\r\n";
constexpr std::string_view kEndedNotice =
    "Your session has ended. Please login again. Your sessions last 30 minutes.";

class DispatchTest : public WebTest {
 protected:
  DispatchTest() {
    makeFile("\\data\\inbox.htm", "INBOX <!--SSPAGEDESC-->");
    makeFile("\\data\\spambox.htm", "SPAMBOX <!--SSPAGEDESC-->");
    makeFile("\\data\\List.htm", "LIST <!--SSTYPE--> <!--SSLIST-->");
    makeFile("\\data\\find.htm", "FIND <!--ssFINDINLISTS-->");
    makeFile("\\data\\config.htm", "CONFIG");
    EXPECT_TRUE(createFolder(inFolder("\\spam")));
  }

  static std::string plainLoginPage() { return get("/index.htm"); }
};

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

// ---- messages ----

TEST_F(DispatchTest, ASpamBoxMessageIsShownDecodedAsAWhole) {
  logIn();
  makeFile("\\spam\\key1.txt", "Subject: a+b %21 %40\r\n\r\n<x>\r\n");
  EXPECT_EQ(get("/displayspam.cgi?fn=key1.txt&s=" + kSessionId),
            "Subject: a b ! %40\r\n<br>\r\n<br>&lt;x&gt;\r\n<br>\r\n");
}

TEST_F(DispatchTest, ASpamBoxNameCannotLeaveTheFolder) {
  logIn();
  makeFile("\\Vornelle.ini", "POP_PASSWORD=secret\r\n");
  makeFile("\\data\\friendlist.txt", "secret\r\n");
  const std::string missing = get("/displayspam.cgi?fn=missing.txt&s=" + kSessionId);
  for (const std::string name :
       {"..\\Vornelle.ini", "../Vornelle.ini", "..\\data\\friendlist.txt", "x\\..\\..\\Vornelle.ini",
        "C:\\Vornelle.ini", "\\Vornelle.ini", "..%5CVornelle.ini"}) {
    EXPECT_EQ(get("/displayspam.cgi?fn=" + name + "&s=" + kSessionId), missing) << name;
  }
}

TEST_F(DispatchTest, AMessageOnTheServerIsShownDecodedAsAWhole) {
  logIn();
  SimMaildrop maildrop;
  maildrop.mails.push_back({"id1", "Subject: x\r\nContent-Type: text/html\r\n\r\na+b %21 %40\r\n"});
  maildrop.serve("pop.example");
  settings.POP_SERVER = "pop.example";
  EXPECT_THAT(get("/displayemail.cgi?uidl=id1&s=" + kSessionId), StartsWith("a b ! %40\r\n"));
}

TEST_F(DispatchTest, AMessageThatCannotBeFetchedGivesTheMessagePage) {
  logIn();
  settings.POP_SERVER = "nowhere.example";
  EXPECT_EQ(get("/displayemail.cgi?uidl=1&s=" + kSessionId),
            "<html><body><h2>Cannot log onto POP3 server. Try again later.</h2>\r\n"
            "<a href='Javascript:history.back();'>Go Back</a>\r\n</body></html>\r\n");
}

TEST_F(DispatchTest, DeletingSpamWaitsUntilNoMoreOfTheFormComes) {
  logIn();
  makeFile("\\spam\\key1.txt", "x\r\n");
  form1.rowKey[3] = "key1";
  form1.rowSender[3] = "bob";
  sim::Client client = connected();
  client.send("POST /deleterestore.cgi?s=" + kSessionId + " HTTP/1.1\r\n\r\n");
  sim::after(3000, [&] { client.send("SUBMIT3=DELETE&"); });
  sim::after(4000, [&] { client.send("SUBMIT3=DELETE&D3=1&END=1"); });
  sim::advance(0);
  // 2000, then 1500 until two looks agree: the pieces are seen at 3500 and 5000.
  EXPECT_EQ(sim::elapsedMilliseconds(), 6500);
  EXPECT_EQ(client.received(), redirectTo("displayspambox.htm"));
  EXPECT_EQ(contentOf("\\spam\\key1.txt"), "(missing)");
  EXPECT_EQ(logged("Delete spam from bob"), 1);
}

TEST_F(DispatchTest, TwoLooksAtTheFormAgreeWithoutRegardToLetterCase) {
  logIn();
  sim::Client client = connected();
  const std::string request =
      "POST /deleterestore.cgi?s=" + kSessionId + " HTTP/1.1\r\n\r\nsubmit3=delete&END=1";
  client.send(request);
  sim::after(3000, [&] { form1.requestText = toLower(request); });
  sim::advance(0);
  EXPECT_EQ(sim::elapsedMilliseconds(), 3500);
}

TEST_F(DispatchTest, AFormThatIsThereAtOnceTakesThreeAndAHalfSeconds) {
  logIn();
  EXPECT_EQ(postWithSession("deleterestore.cgi", "SUBMIT3=DELETE&END=1"), redirectTo("displayspambox.htm"));
  EXPECT_EQ(sim::elapsedMilliseconds(), 3500);
}

TEST_F(DispatchTest, DeletingMailPausesFiveSecondsAndServesNothingMeanwhile) {
  logIn();
  settings.POP_SERVER = "nowhere.example";
  std::int64_t servedAt = 0;
  sim::after(1000, [&] { servedAt = sim::elapsedMilliseconds(); });
  EXPECT_EQ(postWithSession("delete.cgi", "SUBMIT3=DELETE&D3=1&END=1"), redirectTo("displayinbox.htm"));
  EXPECT_EQ(servedAt, 5000);
  EXPECT_EQ(logged("**Cannot log onto POP3 server!"), 1);
}

// ---- lists ----

class ListActionTest : public DispatchTest {
 protected:
  ListActionTest() { logIn(); }

  // Type and entry before "END", so that both can be read.
  static std::string add(std::string_view type, std::string_view entry) {
    return postWithSession("addtolist.cgi",
                           "addtolist=" + std::string(entry) + "&type=" + std::string(type) + "&END=1");
  }
  static std::string remove(std::string_view type, std::string_view line) {
    return postWithSession("deletefromlist.cgi",
                           "deletefromlist=" + std::string(line) + "&type=" + std::string(type) + "&END=1");
  }
};

TEST_F(ListActionTest, AnEntryIsAddedToTheListOfThePostedType) {
  EXPECT_EQ(add("FRIENDLIST", "Bob%40example.com"), redirectTo("displayFRIENDLIST.htm"));
  EXPECT_EQ(add("subjectlist", "hello+world"), redirectTo("displaysubjectlist.htm"));
  EXPECT_EQ(add("EnemyList", "spam"), redirectTo("displayEnemyList.htm"));
  EXPECT_EQ(contentOf("\\data\\friendlist.txt"), "bob@example.com\r\n");
  EXPECT_EQ(contentOf("\\data\\subjectlist.txt"), "hello world\r\n");
  EXPECT_EQ(contentOf("\\data\\enemylist.txt"), "spam\r\n");
  EXPECT_EQ(logged("FriendList add: bob%40example.com"), 1);
  EXPECT_EQ(logged("SubjectList add: hello+world"), 1);
  EXPECT_EQ(logged("EnemyList add: spam"), 1);
}

TEST_F(ListActionTest, AnyOtherTypeAddsNothingAnywhereAndIsAnsweredAllTheSame) {
  for (const char* const type : {"", "friend", "FriendListX", "..\\FriendList", "message"}) {
    EXPECT_EQ(add(type, "x"), redirectTo("display" + std::string(type) + ".htm")) << type;
  }
  EXPECT_THAT(form1.LogWindow.text(), Not(HasSubstr("add:")));
  EXPECT_EQ(listFolder(inFolder("\\data"), ".txt").size(), 0u);
}

TEST_F(ListActionTest, ABlankEntryAddsNothing) {
  EXPECT_EQ(add("FriendList", ""), redirectTo("displayFriendList.htm"));
  EXPECT_EQ(contentOf("\\data\\friendlist.txt"), "(missing)");
}

TEST_F(ListActionTest, TheLineWithThatNumberIsRemovedCountedOverAllLinesFromZero) {
  makeFile("\\data\\friendlist.txt", "zero\r\n\r\nTwo\r\nthree\r\n");
  EXPECT_EQ(remove("FriendList", "2"), redirectTo("displayFriendList.htm"));
  EXPECT_EQ(contentOf("\\data\\friendlist.txt"), "zero\r\n\r\nthree\r\n");
  EXPECT_EQ(remove("FRIENDLIST", " 0 "), redirectTo("displayFRIENDLIST.htm"));
  EXPECT_EQ(contentOf("\\data\\friendlist.txt"), "\r\nthree\r\n");
}

TEST_F(ListActionTest, ANumberThatNoLineHasRemovesNothing) {
  makeFile("\\data\\friendlist.txt", "zero\r\none\r\n");
  for (const char* const line : {"2", "-1", "0.5", "", " ", "x", "32768", "99999999999"}) {
    EXPECT_EQ(remove("FriendList", line), redirectTo("displayFriendList.htm"));
    EXPECT_EQ(contentOf("\\data\\friendlist.txt"), "zero\r\none\r\n") << line;
  }
}

TEST_F(ListActionTest, ARemovalTouchesNoFileButTheThreeLists) {
  makeFile("\\Vornelle.txt", "a\r\nb\r\n");
  makeFile("\\spam\\key1.txt", "a\r\nb\r\n");
  for (const char* const type :
       {"..\\Vornelle", "../Vornelle", "..\\spam\\key1", "", "friendlist.txt", "x"}) {
    EXPECT_EQ(remove(type, "0"), redirectTo("display" + std::string(type) + ".htm"));
  }
  EXPECT_EQ(contentOf("\\Vornelle.txt"), "a\r\nb\r\n");
  EXPECT_EQ(contentOf("\\spam\\key1.txt"), "a\r\nb\r\n");
  EXPECT_EQ(listFolder(inFolder("\\data"), ".txt").size(), 0u);
}

TEST_F(ListActionTest, AListThatCannotBeReadIsNotReplacedByNothing) {
  makeFile("\\data\\friendlist.txt", "zero\r\none\r\n");
  sim::failReadsOf("riend");
  EXPECT_EQ(remove("FriendList", "0"), redirectTo("displayFriendList.htm"));
  sim::failReadsOf("");
  EXPECT_EQ(contentOf("\\data\\friendlist.txt"), "zero\r\none\r\n");
}

TEST_F(ListActionTest, TheMessagePagesButtonsAddToTheEnemyListAndTheFriendList) {
  EXPECT_EQ(postWithSession("add2black.cgi", "addtolist=Foe&END=1"), kBackAnswer);
  EXPECT_EQ(postWithSession("ADD2WHITE.CGI", "ADDTOLIST=Friend&END=1"), kBackAnswer);
  EXPECT_EQ(contentOf("\\data\\enemylist.txt"), "foe\r\n");
  EXPECT_EQ(contentOf("\\data\\friendlist.txt"), "friend\r\n");
}

TEST_F(ListActionTest, AButtonWhoseEntryCannotBeReadAddsNothing) {
  EXPECT_EQ(postWithSession("add2white.cgi", "addtolist=friend"), kBackAnswer);
  EXPECT_EQ(contentOf("\\data\\friendlist.txt"), "(missing)");
}

TEST_F(ListActionTest, AFilterRunOnRequestIsLoggedRunsAndLeadsToTheSpamBox) {
  EXPECT_EQ(getWithSession("mailfilter.cgi"), redirectTo("displayspambox.htm"));
  EXPECT_EQ(logged("Filter mail (user request)"), 1);
  EXPECT_EQ(logged("You need to set up your FriendList first!"), 1);
}

}  // namespace
}  // namespace vornelle
