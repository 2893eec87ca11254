#include "core/settings.h"

#include "tests/unit/support.h"

namespace vornelle {
namespace {

using namespace std::string_literals;
using testing::ElementsAre;

class SettingsFile : public SimTest {
 protected:
  SettingsFile() { assignConstants(); }

  static void load(std::string_view lines) {
    makeFile("\\Vornelle.ini", lines);
    configLoad();
  }
};

void expectDefaultsBut(const std::string& exceptKey) {
  EXPECT_EQ(settings.EMAIL_ADDRESS, "");
  EXPECT_EQ(settings.SMTP_SERVER, "");
  EXPECT_EQ(settings.SMTP_USER, "");
  EXPECT_EQ(settings.SMTP_PASSWORD, "");
  EXPECT_EQ(settings.POP_SERVER, "");
  EXPECT_EQ(settings.POP_ACCOUNT, "");
  EXPECT_EQ(settings.POP_PASSWORD, "");
  EXPECT_EQ(settings.HTTP_PORT_CFG, "7000");
  if (exceptKey != "CHECK_MIN") {
    EXPECT_EQ(settings.CHECK_MIN, 30);
  }
  EXPECT_EQ(settings.SESSION_MIN, 30);
  EXPECT_EQ(settings.MAX_SPAM_SIZE, 150);
  EXPECT_EQ(settings.MAX_LINK_SIZE, 150);
  EXPECT_TRUE(settings.MAX_LINK_SIZE_ON);
  EXPECT_EQ(settings.MESSAGES_PER_PAGE, 15);
  EXPECT_TRUE(settings.NEW_WINDOW);
  EXPECT_FALSE(settings.ACTIVATE_START);
  EXPECT_FALSE(settings.START_MINIMIZED);
  EXPECT_TRUE(settings.TEST_MODE);
}

// ---- constants and defaults ----

TEST_F(SettingsFile, StartUpConstants) {
  EXPECT_EQ(settings.CHECK_MIN_minimum, 10);
  EXPECT_EQ(settings.CHECK_MIN_maximum, 60);
  EXPECT_EQ(settings.SESSION_MIN_minimum, 10);
  EXPECT_EQ(settings.SESSION_MIN_maximum, 60);
  EXPECT_EQ(settings.httpPort, 7000);
  EXPECT_EQ(settings.mailTimeoutSeconds, 30);
  EXPECT_EQ(settings.deletePrefix, "D");
  EXPECT_EQ(settings.restorePrefix, "R");
}

TEST_F(SettingsFile, AMissingFileLeavesTheDefaultsAndIsNotCreated) {
  settings.CHECK_MIN = 11;
  settings.POP_ACCOUNT = "left over";
  settings.TEST_MODE = false;
  configLoad();
  expectDefaultsBut("");
  EXPECT_FALSE(fileExists(inFolder("\\Vornelle.ini")));
}

TEST_F(SettingsFile, LoadingPutsEveryFieldOfTheFileBackToItsDefaultFirst) {
  for (std::string* text :
       {&settings.EMAIL_ADDRESS, &settings.SMTP_SERVER, &settings.SMTP_USER, &settings.SMTP_PASSWORD,
        &settings.POP_SERVER, &settings.POP_ACCOUNT, &settings.POP_PASSWORD, &settings.HTTP_PORT_CFG}) {
    *text = "left over";
  }
  for (std::int16_t* number : {&settings.CHECK_MIN, &settings.SESSION_MIN, &settings.MAX_SPAM_SIZE,
                               &settings.MAX_LINK_SIZE, &settings.MESSAGES_PER_PAGE}) {
    *number = 1;
  }
  settings.MAX_LINK_SIZE_ON = settings.NEW_WINDOW = settings.TEST_MODE = false;
  settings.ACTIVATE_START = settings.START_MINIMIZED = true;
  load("unknown=1\r\n");
  expectDefaultsBut("");
}

TEST_F(SettingsFile, AnEmptyFileLeavesTheDefaults) {
  load("");
  expectDefaultsBut("");
}

TEST_F(SettingsFile, AFileThatCannotBeReadLeavesTheDefaults) {
  makeFile("\\Vornelle.ini", "POP_ACCOUNT=joe\r\n");
  sim::failReadsOf("Vornelle.ini");
  configLoad();
  expectDefaultsBut("");
  EXPECT_TRUE(form1.ckTestMode.checked());
}

TEST_F(SettingsFile, OneLineLeavesEveryOtherFieldAtItsDefault) {
  load("check_min=5");
  EXPECT_EQ(settings.CHECK_MIN, 10);
  expectDefaultsBut("CHECK_MIN");
}

TEST_F(SettingsFile, LoadingDoesNotTouchConstantsOrAPortThatIsNotInTheFile) {
  settings.httpPort = 8123;
  load("CHECK_MIN=20\r\n");
  EXPECT_EQ(settings.httpPort, 8123);
  EXPECT_EQ(settings.deletePrefix, "D");
  EXPECT_EQ(settings.CHECK_MIN_maximum, 60);
}

// ---- reading ----

TEST_F(SettingsFile, EveryKeyIsRead) {
  load(
      "EMAIL_ADDRESS=joe@example.com\r\nSMTP_SERVER=smtp.example\r\nSMTP_USER=su\r\nSMTP_PASSWORD=sp\r\n"
      "POP_SERVER=pop.example:8110\r\nPOP_ACCOUNT=pa\r\nPOP_PASSWORD=pp\r\nHTTP_PORT_CFG=7100\r\nCHECK_MIN="
      "11\r\n"
      "SESSION_MIN=12\r\nMAX_SPAM_SIZE=13\r\nMAX_LINK_SIZE=14\r\nMESSAGES_PER_PAGE=16\r\nNEW_WINDOW=FALSE\r\n"
      "MAX_LINK_SIZE_ON=FALSE\r\nACTIVATE_START=TRUE\r\nSTART_MINIMIZED=TRUE\r\nTEST_MODE=FALSE\r\n");
  EXPECT_EQ(settings.EMAIL_ADDRESS, "joe@example.com");
  EXPECT_EQ(settings.SMTP_SERVER, "smtp.example");
  EXPECT_EQ(settings.SMTP_USER, "su");
  EXPECT_EQ(settings.SMTP_PASSWORD, "sp");
  EXPECT_EQ(settings.POP_SERVER, "pop.example:8110");
  EXPECT_EQ(settings.POP_ACCOUNT, "pa");
  EXPECT_EQ(settings.POP_PASSWORD, "pp");
  EXPECT_EQ(settings.HTTP_PORT_CFG, "7100");
  EXPECT_EQ(settings.httpPort, 7100);
  EXPECT_EQ(settings.CHECK_MIN, 11);
  EXPECT_EQ(settings.SESSION_MIN, 12);
  EXPECT_EQ(settings.MAX_SPAM_SIZE, 13);
  EXPECT_EQ(settings.MAX_LINK_SIZE, 14);
  EXPECT_EQ(settings.MESSAGES_PER_PAGE, 16);
  EXPECT_FALSE(settings.NEW_WINDOW);
  EXPECT_FALSE(settings.MAX_LINK_SIZE_ON);
  EXPECT_TRUE(settings.ACTIVATE_START);
  EXPECT_TRUE(settings.START_MINIMIZED);
  EXPECT_FALSE(settings.TEST_MODE);
}

TEST_F(SettingsFile, KeysAreMatchedAsPrefixesInAnyLetterCase) {
  load("SMTP_SERVERX=a\r\npop_account_name=b\r\n");
  EXPECT_EQ(settings.SMTP_SERVER, "a");
  EXPECT_EQ(settings.POP_ACCOUNT, "b");
}

TEST_F(SettingsFile, AKeyMustStandAtTheVeryStart) {
  load(" SMTP_SERVER=a\r\n#POP_ACCOUNT=b\r\n");
  EXPECT_EQ(settings.SMTP_SERVER, "");
  EXPECT_EQ(settings.POP_ACCOUNT, "");
}

TEST_F(SettingsFile, TheLastOfSeveralLinesWins) {
  load("POP_ACCOUNT=a\r\nPOP_ACCOUNT=b\r\nCHECK_MIN=20\r\nCHECK_MINUTES=40\r\n");
  EXPECT_EQ(settings.POP_ACCOUNT, "b");
  EXPECT_EQ(settings.CHECK_MIN, 40);
}

TEST_F(SettingsFile, TheValueFollowsTheFirstEqualsSignWithoutBlanksAroundIt) {
  load("POP_PASSWORD=  a=b c  \r\n");
  EXPECT_EQ(settings.POP_PASSWORD, "a=b c");
}

TEST_F(SettingsFile, ALineWithoutAnEqualsSignIsItsOwnValue) {
  load("EMAIL_ADDRESS\r\n");
  EXPECT_EQ(settings.EMAIL_ADDRESS, "EMAIL_ADDRESS");
}

TEST_F(SettingsFile, RangesClampAndNumbersAreReadLeniently) {
  for (const auto& [line, minutes] : {std::pair{"CHECK_MIN=75", 60},
                                      {"CHECK_MIN=abc", 10},
                                      {"CHECK_MIN=  45 minutes", 45},
                                      {"CHECK_MIN=9.6", 10},
                                      {"CHECK_MIN", 10},
                                      {"CHECK_MIN=20 45", 20},
                                      {"CHECK_MIN=11.5", 12},
                                      {"CHECK_MIN=&H20", 32}}) {
    load(line);
    EXPECT_EQ(settings.CHECK_MIN, minutes) << line;
  }
  load("MAX_SPAM_SIZE=30001");
  EXPECT_EQ(settings.MAX_SPAM_SIZE, 30000);
  load("MAX_SPAM_SIZE=-4");
  EXPECT_EQ(settings.MAX_SPAM_SIZE, 10);
}

TEST_F(SettingsFile, TheLinkSizeSwitchIsNotTakenForTheLinkSize) {
  load("MAX_LINK_SIZE=200\r\nMAX_LINK_SIZE_ON=FALSE\r\n");
  EXPECT_FALSE(settings.MAX_LINK_SIZE_ON);
  EXPECT_EQ(settings.MAX_LINK_SIZE, 200);
}

TEST_F(SettingsFile, BooleansAreTrueWhenTheLineContainsTheWordTrue) {
  load("NEW_WINDOW=yes");
  EXPECT_FALSE(settings.NEW_WINDOW);
  load("NEW_WINDOW=1");
  EXPECT_FALSE(settings.NEW_WINDOW);
  load("NEW_WINDOW=true");
  EXPECT_TRUE(settings.NEW_WINDOW);
  load("NEW_WINDOW is not true");
  EXPECT_TRUE(settings.NEW_WINDOW);
  load("MAX_LINK_SIZE_ON=no");
  EXPECT_FALSE(settings.MAX_LINK_SIZE_ON);
  load("TEST_MODE=off\r\nACTIVATE_START=tRuE\r\nSTART_MINIMIZED=untrue\r\n");
  EXPECT_FALSE(settings.TEST_MODE);
  EXPECT_TRUE(settings.ACTIVATE_START);
  EXPECT_TRUE(settings.START_MINIMIZED);
}

TEST_F(SettingsFile, MessagesPerPageIsRoundedDownAndNotChecked) {
  for (const auto& [value, rows] : {std::pair{"0", 0},
                                    {"7.9", 7},
                                    {" 20 ", 20},
                                    {"-3.2", -4},
                                    {"32767.9", 32767},
                                    {"x", 15},
                                    {"", 15},
                                    {"20 rows", 15},
                                    {"32768", 15},
                                    {"-32769", 15}}) {
    load(std::string("MESSAGES_PER_PAGE=") + value);
    EXPECT_EQ(settings.MESSAGES_PER_PAGE, rows) << value;
  }
}

TEST_F(SettingsFile, APortThatDoesNotConvertLeavesTheNumberButTakesTheText) {
  load("HTTP_PORT_CFG=web\r\n");
  EXPECT_EQ(settings.HTTP_PORT_CFG, "web");
  EXPECT_EQ(settings.httpPort, 7000);
  load("HTTP_PORT_CFG=0\r\n");
  EXPECT_EQ(settings.httpPort, 0);
  load("HTTP_PORT_CFG=99999999999\r\n");
  EXPECT_EQ(settings.httpPort, 0);
}

TEST_F(SettingsFile, LoneLineFeedsAndUnknownLinesAreNoTrouble) {
  load("POP_SERVER=a\nnonsense\n\nPOP_ACCOUNT=b\rPOP_PASSWORD=c\0d\r\n"s);
  EXPECT_EQ(settings.POP_SERVER, "a");
  EXPECT_EQ(settings.POP_ACCOUNT, "b");
  EXPECT_EQ(settings.POP_PASSWORD, "c\0d"s);
}

// ---- switches and timers ----

TEST_F(SettingsFile, LoadingSetsTheSwitchesAndRunsTheirHandlersInOrder) {
  std::vector<std::string> clicks;
  form1.ckActive.onClick = [&] { clicks.push_back("active"); };
  form1.ckStartMinimized.onClick = [&] { clicks.push_back("minimized"); };
  form1.ckTestMode.onClick = [&] { clicks.push_back("test"); };
  form1.ckAutostart.onClick = [&] { clicks.push_back("autostart"); };
  sim::shell().startupFolder = applicationFolder() + "\\";
  makeFile("\\vornelle.lnk", "");
  load("ACTIVATE_START=TRUE\r\nSTART_MINIMIZED=TRUE\r\nTEST_MODE=TRUE\r\n");
  EXPECT_THAT(clicks, ElementsAre("active", "minimized", "test", "autostart"));
}

TEST_F(SettingsFile, ASwitchThatDoesNotChangeRunsNoHandler) {
  int clicks = 0;
  form1.ckActive.onClick = [&] { ++clicks; };
  load("ACTIVATE_START=FALSE\r\n");
  EXPECT_EQ(clicks, 0);
  load("ACTIVATE_START=TRUE\r\n");
  load("ACTIVATE_START=TRUE\r\n");
  EXPECT_EQ(clicks, 1);
}

TEST_F(SettingsFile, AutostartShowsWhetherTheShortcutExists) {
  configLoad();
  EXPECT_FALSE(form1.ckAutostart.checked());  // there is no Startup folder at all
  sim::shell().startupFolder = applicationFolder() + "\\";
  configLoad();
  EXPECT_FALSE(form1.ckAutostart.checked());
  makeFile("\\Vornelle.LNK", "");
  configLoad();
  EXPECT_TRUE(form1.ckAutostart.checked());
}

TEST_F(SettingsFile, TheTimersTakeAThousandMillisecondsForEachMinute) {
  load("CHECK_MIN=32\r\nSESSION_MIN=10\r\n");
  EXPECT_EQ(form1.Timer1.interval(), 32000);
  EXPECT_EQ(form1.Timer2.interval(), 10000);
}

TEST_F(SettingsFile, TheTimersAreSetBeforeTheSwitchesHandlersRun) {
  std::vector<int> intervals;
  form1.ckActive.onClick = [&] { intervals = {form1.Timer1.interval(), form1.Timer2.interval()}; };
  load("CHECK_MIN=20\r\nSESSION_MIN=21\r\nACTIVATE_START=TRUE\r\n");
  EXPECT_THAT(intervals, ElementsAre(20000, 21000));
}

TEST_F(SettingsFile, AProductAbove16BitsLeavesTheTimerAsItIs) {
  load("CHECK_MIN=45\r\nSESSION_MIN=33\r\n");
  EXPECT_EQ(form1.Timer1.interval(), 1000);
  EXPECT_EQ(form1.Timer2.interval(), 1000);
  settings.CHECK_MIN = 20;
  settings.SESSION_MIN = 21;
  configSave();
  settings.CHECK_MIN = 60;
  settings.SESSION_MIN = 60;
  configSave();
  EXPECT_EQ(form1.Timer1.interval(), 20000);
  EXPECT_EQ(form1.Timer2.interval(), 21000);
}

}  // namespace
}  // namespace vornelle
