#include "web/config_update.h"

#include <memory>
#include <vector>

#include "core/activity.h"
#include "core/earlier_log_in.h"
#include "mail/mail_component.h"
#include "tests/unit/line_server.h"
#include "tests/unit/web/web_test_support.h"
#include "web/direct_request.h"

namespace vornelle {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

class ConfigUpdateTest : public WebTest {
 protected:
  ConfigUpdateTest() { logIn(); }

  static std::string post(std::string_view fields) {
    return postWithSession("configupdate.cgi", std::string(fields) + "&END=1");
  }

  void servePop() {
    sim::addServer("pop.example", 110, [this] {
      return std::make_unique<ScriptedServer>(
          "+OK hello",
          ScriptedServer::Replies{
              {"USER joe", "+OK"}, {"PASS secret", "+OK"}, {"STAT", "+OK 0 0"}, {"QUIT", "+OK"}},
          popLines);
    });
  }
  void serveSmtp() {
    sim::addServer("smtp.example", 25, [this] {
      return std::make_unique<ScriptedServer>(
          "220 hello",
          ScriptedServer::Replies{{"EHLO", "250-smtp.example\r\n250 AUTH LOGIN"},
                                  {"AUTH LOGIN", "334 VXNlcm5hbWU6"},
                                  {"bWU=", "334 UGFzc3dvcmQ6"},
                                  {"cHc=", "235 welcome"},
                                  {"QUIT", "221 bye"}},
          smtpLines);
    });
  }

  static std::string answer(std::string_view alerts) {
    return "<script language='Javascript'>" + std::string(alerts) +
           "window.location='config.htm?s=" + kSessionId + "'</script>\r\n";
  }

  std::vector<std::string> popLines, smtpLines;
};

TEST_F(ConfigUpdateTest, EveryPostedSettingIsStoredAndSaved) {
  EXPECT_EQ(post("ACTIVE=1&TEST_MODE=1&NEW_WINDOW=TRUE&MAX_LINK_SIZE_ON=TRUE&HTTP_PORT_CFG=8080&CHECK_MIN=20&"
                 "SESSION_MIN=25&EMAIL_ADDRESS=joe@home.example&POP_SERVER=&POP_ACCOUNT=joe&POP_PASSWORD=pw&"
                 "SMTP_SERVER=&SMTP_USER=me&SMTP_PASSWORD=pw2&MAX_SPAM_SIZE=200&MAX_LINK_SIZE=300&"
                 "MESSAGES_PER_PAGE=25"),
            answer(""));
  EXPECT_EQ(
      contentOf("\\Vornelle.ini"),
      "EMAIL_ADDRESS=joe@home.example\r\nSMTP_SERVER=\r\nSMTP_USER=me\r\nSMTP_PASSWORD=pw2\r\nPOP_SERVER=\r\n"
      "POP_ACCOUNT=joe\r\nPOP_PASSWORD=pw\r\nHTTP_PORT_CFG=8080\r\nCHECK_MIN=20\r\nSESSION_MIN=25\r\n"
      "MAX_SPAM_SIZE=200\r\nMAX_LINK_SIZE=300\r\nMESSAGES_PER_PAGE=25\r\nNEW_WINDOW=TRUE\r\n"
      "MAX_LINK_SIZE_ON=TRUE\r\nACTIVATE_START=TRUE\r\nSTART_MINIMIZED=FALSE\r\nTEST_MODE=TRUE\r\n");
  EXPECT_EQ(settings.httpPort, 7000);  // takes effect at the next start
  EXPECT_EQ(sim::connectionsMade(), 0);
  EXPECT_EQ(sim::shell().beeps, 0);
}

TEST_F(ConfigUpdateTest, BoxesThatAreNotPostedAreOff) {
  form1.ckActive.setChecked(true);
  form1.ckTestMode.setChecked(true);
  settings.NEW_WINDOW = settings.MAX_LINK_SIZE_ON = true;
  post("CHECK_MIN=20");
  EXPECT_FALSE(form1.ckActive.checked());
  EXPECT_FALSE(form1.ckTestMode.checked());
  EXPECT_FALSE(settings.NEW_WINDOW);
  EXPECT_FALSE(settings.MAX_LINK_SIZE_ON);
}

TEST_F(ConfigUpdateTest, BoxesAreFoundInAnyLetterCaseAnywhereInTheText) {
  post("active=1&test_mode=1&new_window=true&max_link_size_on=True");
  EXPECT_TRUE(form1.ckActive.checked());
  EXPECT_TRUE(form1.ckTestMode.checked());
  EXPECT_TRUE(settings.NEW_WINDOW);
  EXPECT_TRUE(settings.MAX_LINK_SIZE_ON);
}

TEST_F(ConfigUpdateTest, SettingASwitchRunsItsClickHandlerWhenItChanges) {
  int active = 0, testMode = 0;
  form1.ckActive.onClick = [&] { ++active; };
  form1.ckTestMode.onClick = [&] { ++testMode; };
  post("ACTIVE=1&CHECK_MIN=20");
  EXPECT_EQ(active, 1);
  EXPECT_EQ(testMode, 0);
  post("ACTIVE=1&CHECK_MIN=20");
  EXPECT_EQ(active, 1);
}

TEST_F(ConfigUpdateTest, TheActiveSwitchIsSetBeforeTheTestModeSwitch) {
  std::vector<std::string> clicks;
  form1.ckActive.onClick = [&] { clicks.push_back("active"); };
  form1.ckTestMode.onClick = [&] { clicks.push_back("test"); };
  post("TEST_MODE=1&ACTIVE=1");
  EXPECT_THAT(clicks, ElementsAre("active", "test"));
}

TEST_F(ConfigUpdateTest, EmptyValuesChangeNothing) {
  settings.HTTP_PORT_CFG = "7777";
  settings.CHECK_MIN = 11;
  settings.EMAIL_ADDRESS = "me@home.example";
  settings.POP_ACCOUNT = "joe";
  settings.POP_PASSWORD = "secret";
  settings.MESSAGES_PER_PAGE = 12;
  post(
      "HTTP_PORT_CFG=&CHECK_MIN=&SESSION_MIN=&EMAIL_ADDRESS=&POP_SERVER=&POP_ACCOUNT=&POP_PASSWORD=&"
      "SMTP_SERVER=&SMTP_USER=&SMTP_PASSWORD=&MAX_SPAM_SIZE=&MAX_LINK_SIZE=&MESSAGES_PER_PAGE=");
  EXPECT_EQ(settings.HTTP_PORT_CFG, "7777");
  EXPECT_EQ(settings.CHECK_MIN, 11);
  EXPECT_EQ(settings.SESSION_MIN, 30);
  EXPECT_EQ(settings.EMAIL_ADDRESS, "me@home.example");
  EXPECT_EQ(settings.POP_ACCOUNT, "joe");
  EXPECT_EQ(settings.POP_PASSWORD, "secret");
  EXPECT_EQ(settings.MAX_SPAM_SIZE, 150);
  EXPECT_EQ(settings.MAX_LINK_SIZE, 150);
  EXPECT_EQ(settings.MESSAGES_PER_PAGE, 12);
}

TEST_F(ConfigUpdateTest, AMaskedPasswordKeepsTheOldOne) {
  settings.POP_PASSWORD = "secret";
  settings.SMTP_PASSWORD = "secret2";
  post("POP_PASSWORD=******&SMTP_PASSWORD=*******");
  EXPECT_EQ(settings.POP_PASSWORD, "secret");
  EXPECT_EQ(settings.SMTP_PASSWORD, "secret2");
  post("POP_PASSWORD=new*one&SMTP_PASSWORD=other");
  EXPECT_EQ(settings.POP_PASSWORD, "secret");
  EXPECT_EQ(settings.SMTP_PASSWORD, "other");
}

TEST_F(ConfigUpdateTest, NumbersAreClampedNeverRefused) {
  post("CHECK_MIN=5&SESSION_MIN=61&MAX_SPAM_SIZE=30001&MAX_LINK_SIZE=x&MESSAGES_PER_PAGE=7");
  EXPECT_EQ(settings.CHECK_MIN, 10);
  EXPECT_EQ(settings.SESSION_MIN, 60);
  EXPECT_EQ(settings.MAX_SPAM_SIZE, 30000);
  EXPECT_EQ(settings.MAX_LINK_SIZE, 10);
}

TEST_F(ConfigUpdateTest, MessagesPerPageHasNoRangeAndWhatIsNoNumberLeavesIt) {
  post("MESSAGES_PER_PAGE=0");
  EXPECT_EQ(settings.MESSAGES_PER_PAGE, 0);
  post("MESSAGES_PER_PAGE=-3");
  EXPECT_EQ(settings.MESSAGES_PER_PAGE, -3);
  for (const char* const value : {"x", "40000", "1x"}) {
    post("MESSAGES_PER_PAGE=" + std::string(value));
    EXPECT_EQ(settings.MESSAGES_PER_PAGE, -3) << value;
  }
}

TEST_F(ConfigUpdateTest, ValuesAreStoredAsTheyWereSent) {
  post("EMAIL_ADDRESS=joe%40home.example&POP_ACCOUNT=a+b");
  EXPECT_EQ(settings.EMAIL_ADDRESS, "joe%40home.example");
  EXPECT_EQ(settings.POP_ACCOUNT, "a+b");
}

TEST_F(ConfigUpdateTest, AFieldThatNothingFollowsKeepsTheOldValue) {
  settings.EMAIL_ADDRESS = "old";
  answerTo("POST /configupdate.cgi?s=" + kSessionId + " HTTP/1.1\r\n\r\nEMAIL_ADDRESS=new");
  EXPECT_EQ(settings.EMAIL_ADDRESS, "old");
}

TEST_F(ConfigUpdateTest, AFieldThatWasNotPostedTakesTheTextBeforeTheFirstAmpersand) {
  answerTo("POST /configupdate.cgi?" + kSessionId + "& HTTP/1.1\r\n\r\nEND=1");
  EXPECT_EQ(settings.SMTP_USER, "figupdate.cgi?" + kSessionId);  // what follows the first nine characters
}

TEST_F(ConfigUpdateTest, SavingStartsTheCountersAgain) {
  form1.minutesSinceCheck = 5;
  form1.sessionMinutesUsed = 6;
  post("CHECK_MIN=20");
  EXPECT_EQ(form1.minutesSinceCheck, 0);
  EXPECT_EQ(form1.sessionMinutesUsed, 0);
}

TEST_F(ConfigUpdateTest, WithBothServersInReachThereIsNoAlert) {
  servePop();
  serveSmtp();
  EXPECT_EQ(
      post("POP_SERVER=pop.example&POP_ACCOUNT=joe&POP_PASSWORD=secret&SMTP_SERVER=smtp.example&SMTP_USER=me&"
           "SMTP_PASSWORD=pw"),
      answer(""));
  EXPECT_THAT(popLines, Contains("USER joe"));
  EXPECT_THAT(popLines, Contains("PASS secret"));
  EXPECT_THAT(smtpLines, Contains(StartsWith("AUTH LOGIN")));
  EXPECT_THAT(smtpLines, Contains("cHc="));  // "pw"
  EXPECT_EQ(sim::shell().beeps, 0);
  EXPECT_EQ(currentMail, nullptr);
}

TEST_F(ConfigUpdateTest, WithoutAnSmtpUserTheServersGreetingIsEnough) {
  serveSmtp();
  settings.SMTP_SERVER = "smtp.example";
  settings.SMTP_PASSWORD = "pw";
  // Every field that is not posted would take other text.
  EXPECT_EQ(post("SMTP_SERVER=smtp.example&SMTP_USER=&POP_SERVER=&POP_ACCOUNT=&POP_PASSWORD="), answer(""));
  EXPECT_THAT(smtpLines, Not(Contains(StartsWith("AUTH"))));
  EXPECT_EQ(sim::connectionsMade(), 1);
}

TEST_F(ConfigUpdateTest, AServerThatCannotBeLoggedOnToGivesABeepAndAnAlert) {
  constexpr const char* kPopAlert = "alert('Cannot log onto POP3 Server!');";
  constexpr const char* kSmtpAlert = "alert('Cannot log onto SMTP Server!');";
  constexpr const char* kServers =
      "POP_SERVER=pop.example&POP_ACCOUNT=joe&POP_PASSWORD=secret&SMTP_SERVER=smtp.example&SMTP_USER=";
  serveSmtp();
  EXPECT_EQ(post(kServers), answer(kPopAlert));
  EXPECT_EQ(sim::shell().beeps, 1);
  EXPECT_THAT(outcomes.failure.text, HasSubstr("pop.example"));

  sim::removeServer("smtp.example", 25);
  EXPECT_EQ(post(kServers), answer(std::string(kPopAlert) + kSmtpAlert));
  EXPECT_EQ(sim::shell().beeps, 3);

  servePop();
  outcomes.failure = {};
  EXPECT_EQ(post(kServers), answer(kSmtpAlert));
  EXPECT_EQ(sim::shell().beeps, 4);
  EXPECT_EQ(outcomes.failure.text, "") << "the mailbox was reached";
  EXPECT_THAT(outcomes.settingsTest.text, HasSubstr("smtp.example"));
  EXPECT_EQ(currentMail, nullptr);
}

TEST_F(ConfigUpdateTest, TheSettingsAreSavedBeforeTheServersAreTried) {
  std::string savedThen;
  sim::addServer("pop.example", 110, [&]() -> std::unique_ptr<sim::Server> {
    savedThen = contentOf("\\Vornelle.ini");
    return nullptr;
  });
  post("POP_SERVER=pop.example&POP_ACCOUNT=joe&POP_PASSWORD=pw&EMAIL_ADDRESS=me@home.example");
  EXPECT_THAT(savedThen, StartsWith("EMAIL_ADDRESS=me@home.example\r\n"));
}

TEST_F(ConfigUpdateTest, TheSettingsStaySavedWhateverTheTestsFind) {
  post("POP_SERVER=pop.example&SMTP_SERVER=smtp.example&EMAIL_ADDRESS=me@home.example");
  EXPECT_THAT(contentOf("\\Vornelle.ini"), HasSubstr("POP_SERVER=pop.example\r\n"));
  EXPECT_THAT(contentOf("\\Vornelle.ini"), StartsWith("EMAIL_ADDRESS=me@home.example\r\n"));
}

// The mailbox's account and password are the log-in of the pages, too.
class EarlierLogInTest : public ConfigUpdateTest {
 protected:
  EarlierLogInTest() {
    makeFile("\\data\\config.htm", "<html><!--SERVER_NOTES--></html>");
    servePop();
    settings.POP_SERVER = "pop.example";
    settings.POP_ACCOUNT = "joe";
    settings.POP_PASSWORD = "secret";
  }

  // What is not named stays as it is.
  static void save(const std::string& fields) {
    post("HTTP_PORT_CFG=&CHECK_MIN=&SESSION_MIN=&EMAIL_ADDRESS=&" + fields +
         "&POP_SERVER=&POP_ACCOUNT=&POP_PASSWORD=&SMTP_SERVER=&SMTP_USER=&SMTP_PASSWORD=&MAX_SPAM_SIZE=&"
         "MAX_LINK_SIZE=&MESSAGES_PER_PAGE=");
  }
  static std::string throughGateway(const std::string& line, const std::string& body = "") {
    return answerDirectly(line + "?s=" + form1.sessionId + " HTTP/1.1\r\nHost: localhost\r\n\r\n" + body)
        .value_or("(none)");
  }
  static std::string settingsPage() { return throughGateway("GET /config.htm"); }
  static std::string putBack() { return throughGateway("POST /earlierlogin.cgi", "END=1"); }

  static constexpr const char* kNote = "also your log-in to these pages";
  static constexpr const char* kOffer = "action=\"earlierlogin.cgi?s=";
};

TEST_F(EarlierLogInTest, APasswordThatTheServerRefusesIsToldToBeTheLogInTooWithAWayBack) {
  save("POP_PASSWORD=wrong");
  const std::string page = settingsPage();
  EXPECT_THAT(page, HasSubstr(kNote));
  EXPECT_THAT(page, HasSubstr(std::string(kOffer) + kSessionId + "\""));
  EXPECT_THAT(page, Not(HasSubstr("secret")));
  EXPECT_EQ(putBack(), answer(""));
  EXPECT_EQ(settings.POP_PASSWORD, "secret");
  EXPECT_THAT(contentOf("\\Vornelle.ini"), HasSubstr("POP_PASSWORD=secret\r\n"));
  EXPECT_THAT(settingsPage(), Not(HasSubstr(kNote)));
}

TEST_F(EarlierLogInTest, OfSeveralRefusedOnesTheFirstLeadsBackFurthest) {
  save("POP_PASSWORD=wrong");
  save("POP_PASSWORD=wronger");
  save("POP_ACCOUNT=jo");
  putBack();
  EXPECT_EQ(settings.POP_ACCOUNT, "joe");
  EXPECT_EQ(settings.POP_PASSWORD, "secret");
}

TEST_F(EarlierLogInTest, AfterOneThatTheServerTakesThereIsNothingToGoBackTo) {
  save("POP_PASSWORD=wrong");
  save("POP_PASSWORD=secret");
  EXPECT_THAT(settingsPage(), Not(HasSubstr(kNote)));
  EXPECT_EQ(putBack(),
            "<script language='Javascript'>window.location='config.htm?s=" + kSessionId + "'</script>\r\n");
  EXPECT_EQ(settings.POP_PASSWORD, "secret");
}

TEST_F(EarlierLogInTest, TheFirstPasswordHasNoneBeforeIt) {
  settings.POP_ACCOUNT = settings.POP_PASSWORD = "";
  save("POP_ACCOUNT=joe&POP_PASSWORD=wrong");
  EXPECT_THAT(settingsPage(), HasSubstr(kNote));
  EXPECT_THAT(settingsPage(), Not(HasSubstr(kOffer)));
}

TEST_F(EarlierLogInTest, AnUpdateThatLeavesTheLogInAloneOffersNothing) {
  sim::removeServer("pop.example", 110);
  save("CHECK_MIN=20");
  EXPECT_THAT(settingsPage(), Not(HasSubstr(kNote)));  // not reached is not refused
  EXPECT_FALSE(earlierLogIn);
}

TEST_F(EarlierLogInTest, ThePlainWireTellsItAndHasNoSuchAction) {
  save("POP_PASSWORD=wrong");
  EXPECT_THAT(getWithSession("config.htm"), HasSubstr(kNote));
  EXPECT_THAT(getWithSession("config.htm"), Not(HasSubstr(kOffer)));
  EXPECT_THAT(postWithSession("earlierlogin.cgi", "END=1"), HasSubstr("Unrecognized page"));
  EXPECT_EQ(settings.POP_PASSWORD, "wrong");
}

TEST_F(EarlierLogInTest, AFollowedLinkAndADeadSessionPutNothingBack) {
  save("POP_PASSWORD=wrong");
  throughGateway("GET /earlierlogin.cgi");
  EXPECT_EQ(settings.POP_PASSWORD, "wrong");
  const std::string dead =
      "POST /earlierlogin.cgi?s=" + std::string(64, 'X') + " HTTP/1.1\r\nHost: localhost\r\n\r\nEND=1";
  (void)answerDirectly(dead);
  EXPECT_EQ(settings.POP_PASSWORD, "wrong");
}

}  // namespace
}  // namespace vornelle
