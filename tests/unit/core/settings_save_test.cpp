// The settings file as it is written, the range checks and the small helpers.
#include "base/text.h"
#include "core/settings.h"
#include "platform/modSpecialFolders.h"
#include "tests/unit/support.h"

namespace vornelle {
namespace {

using testing::HasSubstr;

class SavedSettings : public SimTest {
 protected:
  SavedSettings() { assignConstants(); }

  static void load(std::string_view lines) {
    makeFile("\\Vornelle.ini", lines);
    configLoad();
  }
  static std::vector<std::string> saved() { return splitLines(contentOf("\\Vornelle.ini")); }
};

TEST_F(SavedSettings, ASavedFileHasEighteenLinesInTheirOrder) {
  load(
      "TEST_MODE=FALSE\r\nPOP_PASSWORD=pp\r\nNEW_WINDOW=FALSE\r\nMAX_LINK_SIZE=14\r\nHTTP_PORT_CFG=7100\r\n"
      "EMAIL_ADDRESS=joe@example.com\r\nunknown=1\r\n");
  configSave();
  EXPECT_EQ(contentOf("\\Vornelle.ini"),
            "EMAIL_ADDRESS=joe@example.com\r\nSMTP_SERVER=\r\nSMTP_USER=\r\nSMTP_PASSWORD=\r\nPOP_SERVER=\r\n"
            "POP_ACCOUNT=\r\nPOP_PASSWORD=pp\r\nHTTP_PORT_CFG=7100\r\nCHECK_MIN=30\r\nSESSION_MIN=30\r\n"
            "MAX_SPAM_SIZE=150\r\nMAX_LINK_SIZE=14\r\nMESSAGES_PER_PAGE=15\r\nNEW_WINDOW=FALSE\r\n"
            "MAX_LINK_SIZE_ON=TRUE\r\nACTIVATE_START=FALSE\r\nSTART_MINIMIZED=FALSE\r\nTEST_MODE=FALSE\r\n");
}

TEST_F(SavedSettings, AFileThatCannotBeReplacedIsWrittenInPlace) {
  load("CHECK_MIN=45\r\n");
  sim::failReplacementsOf("Vornelle.ini");
  settings.CHECK_MIN = 46;
  configSave();
  EXPECT_THAT(contentOf("\\Vornelle.ini"), HasSubstr("CHECK_MIN=46\r\n"));
  ASSERT_TRUE(deleteFile(inFolder("\\Vornelle.ini")));
  configSave();
  EXPECT_EQ(contentOf("\\Vornelle.ini"), "(missing)");
}

TEST_F(SavedSettings, ASavedFileReadsBackTheSame) {
  load(
      "SMTP_USER=a "
      "b\r\nCHECK_MIN=41\r\nMESSAGES_PER_PAGE=-2\r\nSTART_MINIMIZED=TRUE\r\nMAX_LINK_SIZE_ON=FALSE\r\n");
  configSave();
  const std::string first = contentOf("\\Vornelle.ini");
  configLoad();
  configSave();
  EXPECT_EQ(contentOf("\\Vornelle.ini"), first);
  EXPECT_EQ(settings.MESSAGES_PER_PAGE, -2);
  EXPECT_EQ(settings.SMTP_USER, "a b");
}

TEST_F(SavedSettings, ThreeSwitchesAreSavedAsTheWindowShowsThem) {
  configLoad();
  settings.ACTIVATE_START = false;
  settings.START_MINIMIZED = false;
  settings.TEST_MODE = true;
  form1.ckActive.setChecked(true);
  form1.ckStartMinimized.setChecked(true);
  form1.ckTestMode.setChecked(false);
  configSave();
  EXPECT_THAT(contentOf("\\Vornelle.ini"),
              HasSubstr("ACTIVATE_START=TRUE\r\nSTART_MINIMIZED=TRUE\r\nTEST_MODE=FALSE"));
}

TEST_F(SavedSettings, ValuesAreSavedWithoutBlanksAroundThem) {
  settings.POP_PASSWORD = "  a b ";
  configSave();
  EXPECT_THAT(contentOf("\\Vornelle.ini"), HasSubstr("\r\nPOP_PASSWORD=a b\r\n"));
  EXPECT_EQ(settings.POP_PASSWORD, "  a b ");
}

TEST_F(SavedSettings, AValueWithALineBreakEndsThereAndMakesNoLineOfItsOwn) {
  settings.EMAIL_ADDRESS = "a \r\nTEST_MODE=FALSE";
  settings.SMTP_SERVER = "b\nHTTP_PORT_CFG=1";
  settings.POP_SERVER = "\rc";
  configSave();
  const std::vector<std::string> lines = saved();
  ASSERT_EQ(lines.size(), 18u);
  EXPECT_EQ(lines[0], "EMAIL_ADDRESS=a");
  EXPECT_EQ(lines[1], "SMTP_SERVER=b");
  EXPECT_EQ(lines[4], "POP_SERVER=");
}

TEST_F(SavedSettings, SavingSetsBothMinuteCountersBack) {
  form1.minutesSinceCheck = 7;
  form1.sessionMinutesUsed = 8;
  configSave();
  EXPECT_EQ(form1.minutesSinceCheck, 0);
  EXPECT_EQ(form1.sessionMinutesUsed, 0);
}

TEST_F(SavedSettings, LoadingLeavesBothMinuteCounters) {
  form1.minutesSinceCheck = 7;
  form1.sessionMinutesUsed = 8;
  configLoad();
  EXPECT_EQ(form1.minutesSinceCheck, 7);
  EXPECT_EQ(form1.sessionMinutesUsed, 8);
}

TEST_F(SavedSettings, TheOverrideFileIsReadAndWrittenInPlaceOfTheOther) {
  makeFile("\\Vornelle.ini", "POP_ACCOUNT=normal\r\n");
  makeFile("\\pell-Vornelle.ini", "POP_ACCOUNT=override\r\n");
  configLoad();
  EXPECT_EQ(settings.POP_ACCOUNT, "override");
  settings.POP_ACCOUNT = "new";
  configSave();
  EXPECT_EQ(contentOf("\\Vornelle.ini"), "POP_ACCOUNT=normal\r\n");
  EXPECT_THAT(contentOf("\\pell-Vornelle.ini"), HasSubstr("POP_ACCOUNT=new\r\n"));
}

TEST_F(SavedSettings, TheChoiceOfFileIsMadeAfreshEachTime) {
  makeFile("\\pell-Vornelle.ini", "POP_ACCOUNT=override\r\n");
  configLoad();
  ASSERT_TRUE(deleteFile(inFolder("\\pell-Vornelle.ini")));
  configSave();
  EXPECT_FALSE(fileExists(inFolder("\\pell-Vornelle.ini")));
  EXPECT_THAT(contentOf("\\Vornelle.ini"), HasSubstr("POP_ACCOUNT=override\r\n"));
}

TEST_F(SavedSettings, AFailedSaveIsSilentAndLeavesTheOldFile) {
  makeFile("\\Vornelle.ini", "POP_ACCOUNT=old\r\n");
  configLoad();
  sim::failWritesTo("Vornelle.ini");
  settings.POP_ACCOUNT = "new";
  form1.minutesSinceCheck = 5;
  configSave();
  EXPECT_EQ(contentOf("\\Vornelle.ini"), "POP_ACCOUNT=old\r\n");
  EXPECT_EQ(form1.minutesSinceCheck, 0);
  EXPECT_TRUE(sim::shell().messageBoxes.empty());
  EXPECT_EQ(form1.LogWindow.text(), "");
}

// ---- range checks ----

TEST_F(SavedSettings, RangeChecksClampAndRoundHalvesToEven) {
  EXPECT_EQ(configCkCHECK_MIN("9.999"), 10);
  EXPECT_EQ(configCkCHECK_MIN("10.5"), 10);
  EXPECT_EQ(configCkCHECK_MIN("11.5"), 12);
  EXPECT_EQ(configCkCHECK_MIN("60.4"), 60);
  EXPECT_EQ(configCkCHECK_MIN("60.9"), 60);
  EXPECT_EQ(configCkCHECK_MIN("1e9"), 60);
  EXPECT_EQ(configCkCHECK_MIN(""), 10);
  EXPECT_EQ(configCkSESSION_MIN("9"), 10);
  EXPECT_EQ(configCkSESSION_MIN("59"), 59);
  EXPECT_EQ(configCkSESSION_MIN("61"), 60);
  EXPECT_EQ(configCkMAX_SPAM_SIZE("9"), 10);
  EXPECT_EQ(configCkMAX_SPAM_SIZE("29999.5"), 30000);
  EXPECT_EQ(configCkMAX_SPAM_SIZE("99999"), 30000);
  EXPECT_EQ(configCkMAX_LINK_SIZE("x"), 10);
  EXPECT_EQ(configCkMAX_LINK_SIZE("150"), 150);
  EXPECT_EQ(configCkMAX_LINK_SIZE("30001"), 30000);
}

TEST_F(SavedSettings, TheBoundsOfTheMinuteChecksAreThoseOfTheRecord) {
  settings.CHECK_MIN_minimum = 1;
  settings.SESSION_MIN_maximum = 90;
  EXPECT_EQ(configCkCHECK_MIN("0"), 1);
  EXPECT_EQ(configCkSESSION_MIN("99"), 90);
}

// ---- small helpers ----

TEST_F(SavedSettings, SizesAreDividedBy1048AndNeverShownAsZero) {
  EXPECT_EQ(bytes2KB(150000), "143K");
  EXPECT_EQ(bytes2KB(0), "1K");
  EXPECT_EQ(bytes2KB(523), "1K");
  EXPECT_EQ(bytes2KB(1572), "2K");
  EXPECT_EQ(bytes2KB(2620), "2K");
  EXPECT_EQ(bytes2KB(1024 * 1024), "1001K");
}

TEST_F(SavedSettings, APasswordIsMaskedCharacterByCharacter) {
  EXPECT_EQ(passwordMask(""), "");
  EXPECT_EQ(passwordMask("s*c r\xE4t"), "*******");
  EXPECT_EQ(passwordMask(std::string(40000, 'x')).size(), 32767u);
}

TEST_F(SavedSettings, SpecialFoldersComeFromTheShell) {
  EXPECT_EQ(getSpecialFolder(7), "");
  EXPECT_EQ(startupLinkPath(), "");
  sim::shell().startupFolder = "C:\\Startup\\";
  EXPECT_EQ(getSpecialFolder(7), "C:\\Startup\\");
  EXPECT_EQ(startupLinkPath(), "C:\\Startup\\vornelle.lnk");
}

}  // namespace
}  // namespace vornelle
