#include "web/session.h"

#include <algorithm>
#include <memory>
#include <string_view>

#include "core/version.h"
#include "platform/meanwhile.h"
#include "platform/net_stream.h"
#include "tests/unit/web/web_test_support.h"
#include "web/request.h"

namespace vornelle {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;

constexpr const char* kIncorrect =
    "<script language='Javascript'>alert('Login incorrect!');history.back()</script>";

struct SilentServer : sim::Server {
  void onConnect(std::string& /*out*/) override {}
  void onData(std::string_view /*bytes*/, std::string& /*out*/) override {}
};

class SessionTest : public WebTest {
 protected:
  SessionTest() {
    settings.POP_ACCOUNT = "joe";
    settings.POP_PASSWORD = "PW";
  }

  static std::string loginAs(const std::string& account, const std::string& password) {
    form1.requestText =
        "POST /login.cgi HTTP/1.1\r\n\r\nPOP_ACCOUNT=" + account + "&POP_PASSWORD=" + password + "&END=";
    return login();
  }

  static std::string announcementUrl() {
    (void)loginPage("");
    return sim::shell().downloadedUrls.at(0);
  }
};

TEST_F(SessionTest, ALoginStartsASessionAndLeadsToTheSpamBox) {
  form1.sessionMinutesUsed = 7;
  const std::string answer = loginAs("joe", "PW");
  EXPECT_THAT(form1.sessionId, SizeIs(64));
  EXPECT_EQ(answer, "<script language='Javascript'>window.location='displaySpambox.htm?s=" + form1.sessionId +
                        "'</script>");
  EXPECT_EQ(form1.sessionMinutesUsed, 0);
}

TEST_F(SessionTest, TheSessionIdIsSixtyFourCapitalLettersAndNeverTheSame) {
  std::string last;
  for (int i = 0; i < 50; ++i) {
    (void)loginAs("joe", "PW");
    ASSERT_THAT(form1.sessionId, SizeIs(64));
    ASSERT_TRUE(std::all_of(form1.sessionId.begin(), form1.sessionId.end(),
                            [](char c) { return c >= 'A' && c <= 'Z'; }));
    ASSERT_NE(form1.sessionId, last);
    last = form1.sessionId;
  }
}

TEST_F(SessionTest, AccountAndPasswordAreComparedWithoutRegardToLetterCase) {
  EXPECT_THAT(loginAs("JOE", "pw"), StartsWith("<script language='Javascript'>window.location="));
  EXPECT_EQ(logged("Successful login: JOE"), 1);
  EXPECT_THAT(form1.sessionId, SizeIs(64));
}

TEST_F(SessionTest, AWrongLoginIsLoggedAsTypedAndLeavesTheSessionAlone) {
  logIn();
  form1.sessionMinutesUsed = 7;
  EXPECT_EQ(loginAs("joe", "Wrong+1"), kIncorrect);
  EXPECT_EQ(loginAs("jo", "PW"), kIncorrect);
  EXPECT_EQ(loginAs("joe", ""), kIncorrect);
  EXPECT_EQ(logged("Bad login: joe, Wrong+1"), 1);
  EXPECT_EQ(logged("Bad login: jo, PW"), 1);
  EXPECT_EQ(logged("Bad login: joe, "), 1);
  EXPECT_EQ(form1.sessionId, kSessionId);
  EXPECT_EQ(form1.sessionMinutesUsed, 7);
}

TEST_F(SessionTest, WithNothingSetUpALoginWithBothFieldsEmptySucceeds) {
  settings.POP_ACCOUNT = settings.POP_PASSWORD = "";
  (void)loginAs("", "");
  EXPECT_THAT(form1.sessionId, SizeIs(64));
}

TEST_F(SessionTest, ParametersThatCannotBeReadCountAsEmpty) {
  form1.requestText = "GET /login.cgi HTTP/1.1";
  EXPECT_EQ(login(), kIncorrect);
  EXPECT_EQ(logged("Bad login: , "), 1);
}

TEST_F(SessionTest, ALoginEndsTheEarlierSession) {
  (void)loginAs("joe", "PW");
  const std::string first = form1.sessionId;
  (void)loginAs("joe", "PW");
  form1.requestPath = "displayinbox.htm?s=" + first;
  EXPECT_FALSE(holdsSession(form1.requestPath));
  form1.requestPath = "displayinbox.htm?s=" + form1.sessionId;
  EXPECT_TRUE(holdsSession(form1.requestPath));
}

TEST_F(SessionTest, TheIdCountsAnywhereInThePathInItsLetterCase) {
  logIn();
  form1.requestPath = "displayinbox.htm?x=a" + kSessionId + "b";
  EXPECT_TRUE(holdsSession(form1.requestPath));
  form1.requestPath = "displayinbox.htm?s=" + std::string(32, 'q') + std::string(32, 'Z');
  EXPECT_FALSE(holdsSession(form1.requestPath));
  form1.requestPath = "displayinbox.htm?s=" + kSessionId.substr(1);
  EXPECT_FALSE(holdsSession(form1.requestPath));
}

TEST_F(SessionTest, WithNobodyLoggedInNoRequestHasASession) {
  form1.requestPath = "displayinbox.htm?s=";
  EXPECT_FALSE(holdsSession(form1.requestPath));
}

TEST_F(SessionTest, LogoutEndsTheSessionAndItsMinutesGoOn) {
  logIn();
  form1.sessionMinutesUsed = 7;
  EXPECT_EQ(logout(), "<script language='Javascript'>window.location='/'</script>");
  EXPECT_EQ(form1.sessionId, "");
  EXPECT_EQ(form1.sessionMinutesUsed, 7);
  EXPECT_EQ(logged("Logout"), 1);
}

TEST_F(SessionTest, TheSessionEndsWhenItsMinutesAreUsedUp) {
  logIn();
  settings.SESSION_MIN = 30;
  form1.sessionMinutesUsed = 29;
  Timer2_Timer();
  EXPECT_EQ(form1.sessionId, kSessionId);
  EXPECT_EQ(form1.sessionMinutesUsed, 29);
  form1.sessionMinutesUsed = 30;
  Timer2_Timer();
  EXPECT_EQ(form1.sessionId, "");
  EXPECT_EQ(form1.sessionMinutesUsed, 0);
}

TEST_F(SessionTest, TheMinutesStartAgainWithNobodyLoggedInToo) {
  form1.sessionMinutesUsed = 31;
  Timer2_Timer();
  EXPECT_EQ(form1.sessionMinutesUsed, 0);
}

TEST_F(SessionTest, ABusyUserIsSentToTheLoginPageAfterTheSessionsMinutesAllTheSame) {
  form1.Timer2.onTick = Timer2_Timer;
  form1.Timer_min.onTick = [] { ++form1.sessionMinutesUsed; };
  sim::advance(45000);  // the minute in which the login falls has begun already
  (void)loginAs("joe", "PW");
  const std::string target = "/config.htm?s=" + form1.sessionId;
  makeFile("\\data\\config.htm", "config");
  int served = 0;
  while (get(target) == "config\r\n") {
    ++served;
    sim::advance(60000);
  }
  EXPECT_EQ(served, 30);
}

// ---- the login page ----

TEST_F(SessionTest, TheLoginPageShowsTheVersionAndNoMinutes) {
  sim::shell().downloads[announcementUrl()] = "<html>";
  EXPECT_EQ(loginPage(""), "<html><head><title>Login</title></head>" + versionText() +
                               "[<!--SSINFO-->]<form action='login.cgi'></form></html>");
  EXPECT_FALSE(form1.suppressTitleMinutes);
}

TEST_F(SessionTest, TheLoginPageHasNoSharedHeaderNoSessionAndNoReload) {
  logIn();
  makeFile("\\data\\top.inc", "top");
  const std::string markers = "<head></head><!--SSTOP--><!--SSSESSION--><!--SSPAGEDESC-->";
  makeFile("\\data\\login.htm", markers);
  EXPECT_EQ(loginPage(""), markers);
}

TEST_F(SessionTest, ATextInTheAnnouncementIsNoMarkerOfThePage) {
  sim::shell().downloads[announcementUrl()] = "<!--SSVERSION--><!--SSINFO-->";
  EXPECT_THAT(loginPage("notice"), HasSubstr("<p><!--SSVERSION--><!--SSINFO--></p>"));
}

TEST_F(SessionTest, TheNoticeStandsInARowOfItsOwn) {
  EXPECT_THAT(loginPage("Hello"),
              HasSubstr("[<tr><td colspan='2'><p><b><i>\r\nHello\r\n</i></b></p></td></tr>\r\n]"));
}

TEST_F(SessionTest, MarkersOfTheLoginPageAreFoundInAnyLetterCase) {
  makeFile("\\data\\login.htm", "<!--ssversion--><!--SsInfo-->");
  EXPECT_EQ(loginPage("x"),
            versionText() + "<tr><td colspan='2'><p><b><i>\r\nx\r\n</i></b></p></td></tr>\r\n");
}

TEST_F(SessionTest, AnEndedSessionIsToldWithTheMinutesThatSessionsLast) {
  settings.SESSION_MIN = 45;
  EXPECT_EQ(sessionEndedPage(),
            loginPage("Your session has ended. Please login again. Your sessions last 45 minutes."));
}

TEST_F(SessionTest, TheAnnouncementStandsBehindTheFirstFormTag) {
  makeFile("\\data\\login.htm", "<FORM\r\naction='a'>x</form><form>y");
  sim::shell().downloads[announcementUrl()] = "News & <b>more</b>";
  EXPECT_EQ(loginPage(""),
            "<FORM\r\naction='a'>\r\n<tr><td colspan='2'><p>News & <b>more</b></p></td></tr>"
            "<tr><td colspan='2'>&nbsp;</td></tr>x</form><form>y");
  EXPECT_EQ(contentOf("\\message.txt"), "News & <b>more</b>");
}

TEST_F(SessionTest, TheAnnouncementIsFetchedForEachLoginPage) {
  (void)loginPage("");
  (void)loginPage("x");
  EXPECT_THAT(sim::shell().downloadedUrls, SizeIs(2));
}

// The fetch may take seconds, and they would count as the mail server's.
TEST_F(SessionTest, InTheMiddleOfAWaitForAServerTheAnnouncementIsTheOneThatCameLast) {
  makeFile("\\message.txt", "News");
  makeFile("\\data\\login.htm", "<form>x</form>");
  sim::addServer("mail.example", 110, [] { return std::make_unique<SilentServer>(); });
  const auto stream = openNetStream("mail.example", 110, 1000);
  ASSERT_TRUE(stream);
  std::string page;
  setMeanwhile([&] { page = loginPage(""); });
  char byte;
  EXPECT_FALSE(stream->read(&byte, 1, 1000));
  setMeanwhile(nullptr);
  EXPECT_THAT(page, HasSubstr("<p>News</p>"));
  EXPECT_THAT(sim::shell().downloadedUrls, IsEmpty());
  EXPECT_EQ(contentOf("\\message.txt"), "News");
}

TEST_F(SessionTest, AnAnnouncementThatIsAWholePageIsNotShown) {
  const std::string url = announcementUrl();
  makeFile("\\data\\login.htm", "<form>x</form>");
  sim::shell().downloads[url] = "<!DOCTYPE html><HTML>Not found</HTML>";
  EXPECT_EQ(loginPage(""), "<form>x</form>");
}

TEST_F(SessionTest, AnEmptyAnnouncementHasItsBlockTooAndAnOldOneIsForgotten) {
  makeFile("\\message.txt", "old news");
  makeFile("\\data\\login.htm", "<form>x</form>");
  EXPECT_EQ(loginPage(""),
            "<form>\r\n<tr><td colspan='2'><p></p></td></tr><tr><td colspan='2'>&nbsp;</td></tr>x</form>");
  EXPECT_EQ(contentOf("\\message.txt"), "");
}

TEST_F(SessionTest, WithoutAFormTheAnnouncementIsNotShown) {
  const std::string url = announcementUrl();
  sim::shell().downloads[url] = "News";
  for (const char* const page : {"no form", "<form without an end"}) {
    makeFile("\\data\\login.htm", page);
    EXPECT_EQ(loginPage(""), page);
  }
}

TEST_F(SessionTest, AMissingTemplateGivesAnEmptyLoginPage) {
  ASSERT_TRUE(deleteFile(inFolder("\\data\\login.htm")));
  EXPECT_EQ(loginPage("notice"), "");
}

}  // namespace
}  // namespace vornelle
