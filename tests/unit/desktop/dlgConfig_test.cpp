#include "desktop/dlgConfig.h"

#include <memory>
#include <set>

#include "core/activity.h"
#include "core/settings.h"
#include "mail/mail_component.h"
#include "tests/unit/line_server.h"
#include "tests/unit/support.h"
#include "web/listener.h"

namespace vornelle {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;

constexpr const char* kConnecting =
    "Vornelle will now attempt to connect to "
    "servers.\nThis may take a few seconds.";

class SettingsDialog : public SimTest {
 protected:
  SettingsDialog() {
    assignConstants();
    settings.httpPort = 7000;
    settings.POP_PASSWORD = "secret";
    settings.SMTP_PASSWORD = "ab";
    sim::addServer("pop.example", 110, [this] {
      return std::make_unique<ScriptedServer>(
          "+OK hello",
          ScriptedServer::Replies{
              {"USER joe", "+OK"}, {"PASS secret", "+OK"}, {"STAT", "+OK 0 0"}, {"QUIT", "+OK"}},
          toldPop);
    });
    sim::addServer("smtp.example", 25, [this] {
      return std::make_unique<ScriptedServer>(
          "220 hello",
          ScriptedServer::Replies{{"EHLO", "250-smtp.example\r\n250 AUTH LOGIN"},
                                  {"AUTH LOGIN", "334 VXNlcm5hbWU6"},
                                  {"c3U=", "334 UGFzc3dvcmQ6"},
                                  {"c3A=", "235 welcome"},
                                  {"QUIT", "221 bye"}},
          toldSmtp);
    });
  }

  static std::vector<std::string>& boxes() { return sim::shell().messageBoxes; }
  static std::string file() { return contentOf("\\Vornelle.ini"); }

  std::vector<std::string> toldPop;
  std::vector<std::string> toldSmtp;
};

// ---- the line above the buttons ----

TEST_F(SettingsDialog, TellsWhatAServerFieldTakesAndThenWhyAServerCouldNotBeLoggedOnTo) {
  EXPECT_EQ(dlgConfigNotes(),
            "POP3: mail.example:995 for an encrypted connection.\nSMTP: mail.example:465 or :587 for an "
            "encrypted connection.");
  DlgConfig typed = dlgConfigLoad();
  typed["txtPOP_SERVER"].text = "nowhere.example";
  typed["txtSMTP_SERVER"].text = "smtp.example:26";
  EXPECT_FALSE(SaveButtonClick(typed).close);
  EXPECT_EQ(
      dlgConfigNotes(),
      "POP3: There is no server named nowhere.example. Check how it is spelled, and whether this computer "
      "is online.\nSMTP: smtp.example (port 26) takes no connections at that port. Check the port: "
      "encrypted SMTP is usually at 465 or 587.");
  typed["txtPOP_SERVER"].text = "localhost";
  sim::addServer("localhost", 110, [] { return std::unique_ptr<sim::Server>(); });
  typed["txtSMTP_SERVER"].text = "";
  static_cast<void>(SaveButtonClick(typed));
  EXPECT_THAT(dlgConfigNotes(), testing::Not(HasSubstr("SMTP"))) << "it is not tried any more";
}

// ---- the dialog as it opens ----

TEST_F(SettingsDialog, ShowsEverySettingAndMasksThePasswords) {
  settings.HTTP_PORT_CFG = "7100";
  settings.CHECK_MIN = 11;
  settings.SESSION_MIN = 12;
  settings.EMAIL_ADDRESS = "joe@example.com";
  settings.POP_SERVER = "pop.example";
  settings.POP_ACCOUNT = "joe";
  settings.SMTP_SERVER = "smtp.example";
  settings.SMTP_USER = "su";
  settings.MAX_SPAM_SIZE = 13;
  settings.MAX_LINK_SIZE = 14;
  settings.MESSAGES_PER_PAGE = -1;
  settings.NEW_WINDOW = false;
  settings.MAX_LINK_SIZE_ON = true;
  const DlgConfig boxesShown = dlgConfigLoad();
  EXPECT_EQ(boxesShown.at("txtHTTP_PORT_CFG").text, "7100");
  EXPECT_EQ(boxesShown.at("txtCHECK_MIN").text, "11");
  EXPECT_EQ(boxesShown.at("txtSESSION_MIN").text, "12");
  EXPECT_EQ(boxesShown.at("txtEMAIL_ADDRESS").text, "joe@example.com");
  EXPECT_EQ(boxesShown.at("txtPOP_SERVER").text, "pop.example");
  EXPECT_EQ(boxesShown.at("txtPOP_ACCOUNT").text, "joe");
  EXPECT_EQ(boxesShown.at("txtPOP_PASSWORD").text, "******");
  EXPECT_EQ(boxesShown.at("txtSMTP_SERVER").text, "smtp.example");
  EXPECT_EQ(boxesShown.at("txtSMTP_USER").text, "su");
  EXPECT_EQ(boxesShown.at("txtSMTP_PASSWORD").text, "**");
  EXPECT_EQ(boxesShown.at("txtMAX_SPAM_SIZE").text, "13");
  EXPECT_EQ(boxesShown.at("txtMAX_LINK_SIZE").text, "14");
  EXPECT_EQ(boxesShown.at("txtMESSAGES_PER_PAGE").text, "-1");
  EXPECT_FALSE(boxesShown.at("ckNEW_WINDOW").checked);
  EXPECT_TRUE(boxesShown.at("ckMAX_LINK_SIZE_ON").checked);
}

TEST_F(SettingsDialog, EveryBoxHasARowAndEveryRowABox) {
  const DlgConfig boxesShown = dlgConfigLoad();
  EXPECT_EQ(boxesShown.size(), 15u);
  EXPECT_EQ(settingsInDialog().size(), 15u);
  for (const Setting* row : settingsInDialog()) {
    EXPECT_STRNE(row->label, "");
    EXPECT_EQ(boxesShown.count(dlgConfigBoxName(*row)), 1u) << row->label;
  }
}

TEST_F(SettingsDialog, EveryRowHasAnAccessKeyOfItsOwn) {
  std::set<char> keys = {'U', 'C'};  // Update and Cancel
  for (const Setting* row : settingsInDialog()) EXPECT_TRUE(keys.insert(row->accessKey).second) << row->label;
}

// Label, tool tip and unit text of every row, in the order in which they stand.
TEST_F(SettingsDialog, TheRowsHaveTheirLabelsToolTipsAndUnitsInOrder) {
  std::vector<std::string> rows;
  for (const Setting* row : settingsInDialog()) {
    rows.push_back(std::string(row->label) + "|" + row->toolTip + "|" + row->unit);
  }
  EXPECT_THAT(
      rows,
      ElementsAre("HTTP Port:|HTTP Port that Vornelle listens to|Chg req restart",
                  "Filter Timer:|How often to automatically filter for spam|mins (10-60)",
                  "Session Timeout:|How long before user must relogin|mins (10-60)",
                  "POP3 Mail Server:|POP3 mail server name|", "Account Name:|E-mail account name|",
                  "Account Password:|E-mail account password|", "SMTP Server:|Server used to send mail|",
                  "SMTP Auth Username:|Sending server username. Not always required.|",
                  "SMTP Auth Password:|Sending server password. Not always required.|",
                  "Display in New Window:|Displays email/spam in new browser window|",
                  "Email Address:|Account e-mail address|",
                  "Maximum Spam Size:|Messages larger than this are not considered spam|kbytes (10-30000)",
                  "Maximum Link Size|No link to read messages is provided if larger than this|"
                  "kbytes (10-30000)",
                  "On/Off||", "Messages Per Page|Number of messages to show per page|"));
}

TEST_F(SettingsDialog, TheButtonsAreUpdateAndCancel) {
  EXPECT_STREQ(kDlgConfigSaveCaption, "Update");
  EXPECT_STREQ(kDlgConfigCancelCaption, "Cancel");
}

// ---- Update ----

TEST_F(SettingsDialog, UpdateStoresAndSavesEveryBox) {
  DlgConfig typed = dlgConfigLoad();
  for (const auto& [name, text] :
       std::map<std::string, std::string>{{"txtHTTP_PORT_CFG", "7200"},
                                          {"txtCHECK_MIN", "21"},
                                          {"txtSESSION_MIN", "22"},
                                          {"txtPOP_ACCOUNT", "ann"},
                                          {"txtPOP_PASSWORD", "new1"},
                                          {"txtSMTP_USER", "su"},
                                          {"txtSMTP_PASSWORD", "new2"},
                                          {"txtEMAIL_ADDRESS", " ann@example.com "},
                                          {"txtMAX_SPAM_SIZE", "23"},
                                          {"txtMAX_LINK_SIZE", "24"},
                                          {"txtMESSAGES_PER_PAGE", "25"}}) {
    typed[name].text = text;
  }
  typed["ckNEW_WINDOW"].checked = typed["ckMAX_LINK_SIZE_ON"].checked = false;
  EXPECT_TRUE(SaveButtonClick(typed).close);
  EXPECT_EQ(settings.httpPort, 7200);
  EXPECT_EQ(settings.EMAIL_ADDRESS,
            " ann@example.com ");  // as typed; the file has it trimmed
  EXPECT_EQ(file(),
            "EMAIL_ADDRESS=ann@example.com\r\nSMTP_SERVER=\r\nSMTP_"
            "USER=su\r\nSMTP_PASSWORD=new2\r\nPOP_SERVER=\r\n"
            "POP_ACCOUNT=ann\r\nPOP_PASSWORD=new1\r\nHTTP_PORT_CFG="
            "7200\r\nCHECK_MIN=21\r\nSESSION_MIN=22\r\n"
            "MAX_SPAM_SIZE=23\r\nMAX_LINK_SIZE=24\r\nMESSAGES_PER_PAGE="
            "25\r\nNEW_WINDOW=FALSE\r\n"
            "MAX_LINK_SIZE_ON=FALSE\r\nACTIVATE_START=FALSE\r\nSTART_"
            "MINIMIZED=FALSE\r\nTEST_MODE=FALSE\r\n");
}

TEST_F(SettingsDialog, UpdateWithoutChangesKeepsBothPasswords) {
  EXPECT_TRUE(SaveButtonClick(dlgConfigLoad()).close);
  EXPECT_EQ(settings.POP_PASSWORD, "secret");
  EXPECT_EQ(settings.SMTP_PASSWORD, "ab");
}

TEST_F(SettingsDialog, AnAsteriskAnywhereLeavesThePassword) {
  DlgConfig typed = dlgConfigLoad();
  typed["txtPOP_PASSWORD"].text = "new*one";
  typed["txtSMTP_PASSWORD"].text = "";
  static_cast<void>(SaveButtonClick(typed));
  EXPECT_EQ(settings.POP_PASSWORD, "secret");
  EXPECT_EQ(settings.SMTP_PASSWORD, "");
}

TEST_F(SettingsDialog, NumbersAreClampedSilently) {
  DlgConfig typed = dlgConfigLoad();
  typed["txtCHECK_MIN"].text = "5";
  typed["txtSESSION_MIN"].text = "100";
  typed["txtMAX_SPAM_SIZE"].text = "much";
  typed["txtMAX_LINK_SIZE"].text = "99999";
  EXPECT_TRUE(SaveButtonClick(typed).close);
  EXPECT_EQ(settings.CHECK_MIN, 10);
  EXPECT_EQ(settings.SESSION_MIN, 60);
  EXPECT_EQ(settings.MAX_SPAM_SIZE, 10);
  EXPECT_EQ(settings.MAX_LINK_SIZE, 30000);
  EXPECT_THAT(boxes(), ElementsAre(kConnecting, "Settings updated"));
}

TEST_F(SettingsDialog, TheFilterTimerTakes10For5And60For100) {
  DlgConfig typed = dlgConfigLoad();
  typed["txtCHECK_MIN"].text = "5";
  static_cast<void>(SaveButtonClick(typed));
  EXPECT_EQ(settings.CHECK_MIN, 10);
  typed["txtCHECK_MIN"].text = "100";
  static_cast<void>(SaveButtonClick(typed));
  EXPECT_EQ(settings.CHECK_MIN, 60);
}

TEST_F(SettingsDialog, TheRunningListenerStaysWhereItIs) {
  listenerStart();
  DlgConfig typed = dlgConfigLoad();
  typed["txtHTTP_PORT_CFG"].text = "7100";
  static_cast<void>(SaveButtonClick(typed));
  EXPECT_EQ(settings.httpPort, 7100);
  EXPECT_EQ(listenerPort(), 7000);
  EXPECT_EQ(sim::listeningPort(LoopbackAddress::ipv4), 7000);
}

TEST_F(SettingsDialog, MessagesPerPageHasNoRange) {
  DlgConfig typed = dlgConfigLoad();
  for (const int rows : {-32768, 0, 32767}) {
    typed["txtMESSAGES_PER_PAGE"].text = std::to_string(rows);
    EXPECT_TRUE(SaveButtonClick(typed).close);
    EXPECT_EQ(settings.MESSAGES_PER_PAGE, rows);
  }
}

TEST_F(SettingsDialog, TheFourSwitchesOfTheMainWindowStayAsTheyAre) {
  form1.ckActive.setChecked(true);
  form1.ckTestMode.setChecked(true);
  form1.ckStartMinimized.setChecked(true);
  static_cast<void>(SaveButtonClick(dlgConfigLoad()));
  EXPECT_THAT(file(), HasSubstr("ACTIVATE_START=TRUE\r\nSTART_MINIMIZED=TRUE\r\nTEST_MODE=TRUE\r\n"));
}

TEST_F(SettingsDialog, PortAndMessagesPerPageAreRounded) {
  DlgConfig typed = dlgConfigLoad();
  typed["txtHTTP_PORT_CFG"].text = "7100.5";
  typed["txtMESSAGES_PER_PAGE"].text = "15.5";
  EXPECT_TRUE(SaveButtonClick(typed).close);
  EXPECT_EQ(settings.httpPort, 7100);
  EXPECT_EQ(settings.HTTP_PORT_CFG, "7100.5");
  EXPECT_EQ(settings.MESSAGES_PER_PAGE, 16);
}

TEST_F(SettingsDialog, APortThatIsNoNumberIsRefusedAndNothingIsStored) {
  for (const char* port : {"", "web", "70 00", "99999999999"}) {
    boxes().clear();
    DlgConfig typed = dlgConfigLoad();
    typed["txtHTTP_PORT_CFG"].text = port;
    typed["txtPOP_ACCOUNT"].text = "ann";
    typed["ckNEW_WINDOW"].checked = false;
    const DlgConfigResult result = SaveButtonClick(typed);
    EXPECT_FALSE(result.close);
    EXPECT_TRUE(result.focus == "txtHTTP_PORT_CFG");
    EXPECT_THAT(boxes(), ElementsAre("HTTP Port takes a whole number, for example 7000.")) << port;
    EXPECT_EQ(settings.HTTP_PORT_CFG, "7000");
    EXPECT_EQ(settings.POP_ACCOUNT, "");
    EXPECT_TRUE(settings.NEW_WINDOW);
    EXPECT_EQ(file(), "(missing)");
  }
}

TEST_F(SettingsDialog, MessagesPerPageThatIsNoNumberIsRefusedAndNothingIsStored) {
  for (const char* rows : {"", "many", "32768", "-40000"}) {
    boxes().clear();
    DlgConfig typed = dlgConfigLoad();
    typed["txtHTTP_PORT_CFG"].text = "7100";
    typed["txtMESSAGES_PER_PAGE"].text = rows;
    const DlgConfigResult result = SaveButtonClick(typed);
    EXPECT_FALSE(result.close);
    EXPECT_TRUE(result.focus == "txtMESSAGES_PER_PAGE");
    EXPECT_THAT(boxes(), ElementsAre("Messages Per Page takes a whole number "
                                     "up to 32767, for example 15."))
        << rows;
    EXPECT_EQ(settings.HTTP_PORT_CFG, "7000");
    EXPECT_EQ(settings.httpPort, 7000);
    EXPECT_EQ(file(), "(missing)");
  }
}

// ---- the connection tests ----

TEST_F(SettingsDialog, WithoutServersNothingIsTested) {
  EXPECT_TRUE(SaveButtonClick(dlgConfigLoad()).close);
  EXPECT_THAT(boxes(), ElementsAre(kConnecting, "Settings updated"));
  EXPECT_EQ(sim::connectionsMade(), 0);
  EXPECT_EQ(sim::shell().beeps, 0);
}

TEST_F(SettingsDialog, BothServersAreTestedWithTheNewSettings) {
  DlgConfig typed = dlgConfigLoad();
  typed["txtPOP_SERVER"].text = "pop.example";
  typed["txtPOP_ACCOUNT"].text = "joe";
  typed["txtSMTP_SERVER"].text = "smtp.example";
  typed["txtSMTP_USER"].text = "su";
  typed["txtSMTP_PASSWORD"].text = "sp";
  EXPECT_TRUE(SaveButtonClick(typed).close);
  EXPECT_THAT(boxes(), ElementsAre(kConnecting, "Settings updated"));
  EXPECT_THAT(toldPop, AllOf(testing::Contains("USER joe"), testing::Contains("PASS secret"),
                             testing::Contains("QUIT")));
  EXPECT_THAT(toldSmtp, AllOf(testing::Contains(HasSubstr("EHLO")), testing::Contains("c3A="),
                              testing::Contains("QUIT")));
  EXPECT_EQ(currentMail, nullptr);
}

TEST_F(SettingsDialog, WithoutAnSmtpUserTheServerIsOnlyGreeted) {
  DlgConfig typed = dlgConfigLoad();
  typed["txtSMTP_SERVER"].text = "smtp.example";
  EXPECT_TRUE(SaveButtonClick(typed).close);
  EXPECT_THAT(toldSmtp, testing::Not(testing::Contains(HasSubstr("AUTH"))));
}

TEST_F(SettingsDialog, AFailedPop3LogOnIsSaidAndTheDialogStaysOpenWithTheSettingsSaved) {
  DlgConfig typed = dlgConfigLoad();
  typed["txtPOP_SERVER"].text = "pop.example";
  typed["txtPOP_ACCOUNT"].text = "joe";
  typed["txtPOP_PASSWORD"].text = "wrong";
  std::string fileThen;
  sim::shell().onMessageBox = [&](const std::string& text) {
    if (text == kConnecting) fileThen = file();
  };
  const DlgConfigResult result = SaveButtonClick(typed);
  EXPECT_FALSE(result.close);
  EXPECT_TRUE(result.focus.empty());
  EXPECT_THAT(boxes(), ElementsAre(kConnecting, "Cannot log onto POP3 Server!", "Settings updated"));
  EXPECT_EQ(sim::shell().beeps, 1);
  EXPECT_THAT(fileThen, HasSubstr("POP_PASSWORD=wrong\r\n"));
}

TEST_F(SettingsDialog, TheBeepComesBeforeTheBoxThatTellsTheFailure) {
  DlgConfig typed = dlgConfigLoad();
  typed["txtPOP_SERVER"].text = "nobody.example";
  std::vector<int> beepsThen;
  sim::shell().onMessageBox = [&](const std::string&) { beepsThen.push_back(sim::shell().beeps); };
  static_cast<void>(SaveButtonClick(typed));
  EXPECT_THAT(beepsThen, ElementsAre(0, 1, 1));
}

TEST_F(SettingsDialog, TheComponentStandsInTheSlotFromTheFirstBoxOnAndIsReleasedBeforeTheLast) {
  DlgConfig typed = dlgConfigLoad();
  typed["txtPOP_SERVER"].text = "nobody.example";
  std::vector<bool> held;
  sim::shell().onMessageBox = [&](const std::string&) { held.push_back(currentMail != nullptr); };
  static_cast<void>(SaveButtonClick(typed));
  EXPECT_THAT(held, ElementsAre(true, true, false));
}

TEST_F(SettingsDialog, AnEmptyServerNameSkipsItsTestOnly) {
  DlgConfig typed = dlgConfigLoad();
  typed["txtSMTP_SERVER"].text = "nobody.example";
  EXPECT_FALSE(SaveButtonClick(typed).close);
  EXPECT_THAT(boxes(), ElementsAre(kConnecting, "Cannot log onto SMTP Server!", "Settings updated"));
  boxes().clear();
  typed["txtSMTP_SERVER"].text = "";
  typed["txtPOP_SERVER"].text = "nobody.example";
  EXPECT_FALSE(SaveButtonClick(typed).close);
  EXPECT_THAT(boxes(), ElementsAre(kConnecting, "Cannot log onto POP3 Server!", "Settings updated"));
}

TEST_F(SettingsDialog, ASettingsFileThatCannotBeWrittenIsSilentAndTheSettingsAreInForce) {
  sim::failWritesTo("Vornelle.ini");
  DlgConfig typed = dlgConfigLoad();
  typed["txtPOP_ACCOUNT"].text = "ann";
  EXPECT_TRUE(SaveButtonClick(typed).close);
  sim::failWritesTo("");
  EXPECT_THAT(boxes(), ElementsAre(kConnecting, "Settings updated"));
  EXPECT_EQ(settings.POP_ACCOUNT, "ann");
}

TEST_F(SettingsDialog, AFailedSmtpLogOnIsSaid) {
  DlgConfig typed = dlgConfigLoad();
  typed["txtSMTP_SERVER"].text = "smtp.example";
  typed["txtSMTP_USER"].text = "su";
  typed["txtSMTP_PASSWORD"].text = "wrong";
  EXPECT_FALSE(SaveButtonClick(typed).close);
  EXPECT_THAT(boxes(), ElementsAre(kConnecting, "Cannot log onto SMTP Server!", "Settings updated"));
  EXPECT_EQ(sim::shell().beeps, 1);
}

TEST_F(SettingsDialog, BothFailuresAreSaidInOrder) {
  DlgConfig typed = dlgConfigLoad();
  typed["txtPOP_SERVER"].text = "nobody.example";
  typed["txtSMTP_SERVER"].text = "nobody.example";
  EXPECT_FALSE(SaveButtonClick(typed).close);
  EXPECT_THAT(boxes(), ElementsAre(kConnecting, "Cannot log onto POP3 Server!",
                                   "Cannot log onto SMTP Server!", "Settings updated"));
  EXPECT_EQ(sim::shell().beeps, 2);
}

TEST_F(SettingsDialog, AMailTaskThatTookTheSlotMeanwhileMakesTheTestsFail) {
  DlgConfig typed = dlgConfigLoad();
  typed["txtPOP_SERVER"].text = "pop.example";
  typed["txtPOP_ACCOUNT"].text = "joe";
  typed["txtSMTP_SERVER"].text = "smtp.example";
  sim::shell().onMessageBox = [](const std::string& text) {
    if (text == kConnecting) currentMail.reset();
  };
  EXPECT_FALSE(SaveButtonClick(typed).close);
  EXPECT_EQ(sim::connectionsMade(), 0);
}

TEST_F(SettingsDialog, TheHourglassIsShownForEachLogOnAndNeverWhileABoxIsOpen) {
  settings.POP_SERVER = "pop.example";
  settings.SMTP_SERVER = "smtp.example";
  sim::shell().onMessageBox = [](const std::string& text) { EXPECT_EQ(sim::shell().waitCursors, 0) << text; };
  static_cast<void>(SaveButtonClick(dlgConfigLoad()));
  EXPECT_EQ(sim::shell().waitCursorsShown, 2);
  EXPECT_EQ(sim::shell().waitCursors, 0);
}

TEST_F(SettingsDialog, EachLogOnIsUnderWayForThePagesAndNothingIsWhileABoxIsOpen) {
  settings.POP_SERVER = "pop.example";
  settings.SMTP_SERVER = "smtp.example";
  int logOns = 0;
  const auto look = [&logOns] {
    const std::optional<Progress> progress = underWay();
    ASSERT_TRUE(progress);
    EXPECT_EQ(taskName(progress->task), "settingsTest");
    ++logOns;
  };
  for (const auto& [host, port] : std::map<std::string, int>{{"pop.example", 110}, {"smtp.example", 25}})
    sim::addServer(host, port, [&look]() -> std::unique_ptr<sim::Server> {
      look();
      return nullptr;
    });
  sim::shell().onMessageBox = [](const std::string& text) { EXPECT_FALSE(underWay()) << text; };
  static_cast<void>(SaveButtonClick(dlgConfigLoad()));
  EXPECT_EQ(logOns, 2);
}

}  // namespace
}  // namespace vornelle
