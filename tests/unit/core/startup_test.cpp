#include "core/startup.h"

#include "core/random_letters.h"
#include "core/settings.h"
#include "desktop/main_window.h"
#include "platform/events.h"
#include "tests/unit/core/startup_test_support.h"

namespace vornelle {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

// ---- files and folders ----

TEST_F(Startup, AFirstStartCreatesTheSpamFolderAndThreeEmptyLists) {
  Form1_Load();
  EXPECT_TRUE(folderExists(inFolder("\\spam")));
  for (const char* name : {"\\data\\enemylist.txt", "\\data\\friendlist.txt", "\\data\\subjectlist.txt"}) {
    EXPECT_EQ(contentOf(name), "") << name;
  }
  EXPECT_EQ(box(), kBanner);
  EXPECT_THAT(logFile(), StartsWith(stamped("Creating spam subdirectory...")));
  EXPECT_FALSE(fileExists(inFolder("\\Vornelle.ini")));
}

TEST_F(Startup, ExistingListsAndFoldersAreLeftAlone) {
  makeFile("\\data\\FriendList.TXT", "bob@example.com\r\n");
  ASSERT_TRUE(createFolder(inFolder("\\Spam")));
  Form1_Load();
  EXPECT_EQ(contentOf("\\data\\friendlist.txt"), "bob@example.com\r\n");
  EXPECT_EQ(listFolder(inFolder("\\data"), ".txt").size(), 3u);
  EXPECT_THAT(logFile(), Not(HasSubstr("Creating spam subdirectory...")));
}

// ---- constants, settings, switches ----

TEST_F(Startup, ConstantsAreAssignedBeforeTheSettingsAreRead) {
  makeFile("\\Vornelle.ini", "CHECK_MIN=99\r\nSESSION_MIN=1\r\n");
  Form1_Load();
  EXPECT_EQ(settings.CHECK_MIN, 60);
  EXPECT_EQ(settings.SESSION_MIN, 10);
  EXPECT_EQ(settings.mailTimeoutSeconds, 30);
  EXPECT_EQ(settings.deletePrefix, "D");
  EXPECT_EQ(settings.restorePrefix, "R");
}

TEST_F(Startup, TheSwitchesHandlersRunWhileTheSettingsAreLoaded) {
  makeFile("\\Vornelle.ini", "ACTIVATE_START=TRUE\r\nTEST_MODE=TRUE\r\n");
  Form1_Load();
  EXPECT_TRUE(form1.ckActive.checked());
  // The lines are in the file; the banner has wiped them from the box.
  EXPECT_THAT(logFile(), EndsWith(stamped("Automatic mail filtering on") +
                                  stamped("Test mode on. Spam will not be removed from InBox.")));
  EXPECT_EQ(box(), kBanner);
}

TEST_F(Startup, TheAutostartSwitchShowsTheShortcutAndChangesNothing) {
  sim::shell().startupFolder = applicationFolder() + "\\";
  makeFile("\\vornelle.lnk", "");
  Form1_Load();
  EXPECT_TRUE(form1.ckAutostart.checked());
  EXPECT_TRUE(startupLinkExists());
  EXPECT_THAT(sim::shell().links, IsEmpty());
}

TEST_F(Startup, AClickOnASwitchReachesItsHandlerAfterStart) {
  Form1_Load();
  form1.ckTestMode.setChecked(false);
  EXPECT_THAT(box(), EndsWith(stamped("Test mode off")));
  form1.ckStartMinimized.setChecked(true);
  EXPECT_THAT(box(), EndsWith(stamped("Vornelle will start with window minimized")));
  sim::shell().startupFolder = applicationFolder() + "\\";
  form1.ckAutostart.setChecked(true);
  EXPECT_EQ(sim::shell().links.size(), 1u);
}

TEST_F(Startup, TheGeneratorOfSessionIdsIsSeededFromTheClock) {
  Form1_Load();
  sim::setRandomSeed(1);
  const std::string first = randomLetters(64);
  sim::reset();
  resetProgramState();
  for (const char* name : kTemplates) makeFile(name, "");
  sim::setUtc(utcNow() + 1);
  Form1_Load();
  sim::setRandomSeed(1);
  EXPECT_NE(randomLetters(64), first);
}

// ---- web server and banner ----

TEST_F(Startup, TheBannerQuotesThePortThatTheListenerGot) {
  makeFile("\\Vornelle.ini", "HTTP_PORT_CFG=7100\r\n");
  sim::occupyPort(LoopbackAddress::ipv4, 7100);
  Form1_Load();
  EXPECT_EQ(sim::listeningPort(LoopbackAddress::ipv4), 7101);
  EXPECT_EQ(settings.HTTP_PORT_CFG, "7100");
  EXPECT_THAT(box(), EndsWith("use the address: http://localhost:7101\r\n"));
}

TEST_F(Startup, TheBannerIsNotWrittenToTheLogFile) {
  Form1_Load();
  EXPECT_THAT(logFile(), Not(HasSubstr("Vornelle started")));
}

TEST_F(Startup, TheBannerWipesEarlierLinesFromTheBoxButNotFromTheFile) {
  std::string boxBefore;
  form1.LogWindow.onAppend = [&](std::string_view) { boxBefore = box(); };
  Form1_Load();
  EXPECT_THAT(boxBefore, HasSubstr("Creating spam subdirectory..."));
  EXPECT_EQ(box(), kBanner);
  EXPECT_THAT(logFile(), HasSubstr("Creating spam subdirectory..."));
}

// ---- templates ----

TEST_F(Startup, AnyMissingTemplateEndsTheProgramAfterItsMessage) {
  for (const char* missing : kTemplates) {
    sim::reset();
    resetProgramState();
    for (const char* name : kTemplates) {
      if (std::string_view(name) != missing) makeFile(name, "");
    }
    makeFile("\\Vornelle.ini", "POP_ACCOUNT=joe\r\n");
    EXPECT_THROW(Form1_Load(), sim::ProcessEnded) << missing;
    EXPECT_THAT(sim::shell().messageBoxes, ElementsAre("Missing installation files. Please reinstall."))
        << missing;
    EXPECT_THAT(sim::shell().messageIcons, ElementsAre(MessageIcon::none));
    EXPECT_EQ(box(),
              std::string(kBanner) + stamped("***Closing Vornelle***") + stamped("************************"))
        << missing;
    EXPECT_THAT(contentOf("\\Vornelle.ini"),
                AllOf(HasSubstr("POP_ACCOUNT=joe\r\n"), EndsWith("TEST_MODE=TRUE\r\n")));
    EXPECT_FALSE(form1.visible) << missing;
    EXPECT_EQ(sim::shell().iconAdds, 0) << missing;
    EXPECT_EQ(sim::shell().iconDeletes, 1) << missing;
  }
}

TEST_F(Startup, WithoutTheDataFolderTheProgramEndsToo) {
  for (const char* name : kTemplates) ASSERT_TRUE(deleteFile(inFolder(name)));
  sim::failWritesTo("data");
  EXPECT_THROW(Form1_Load(), sim::ProcessEnded);
  EXPECT_THAT(sim::shell().messageBoxes, ElementsAre("Missing installation files. Please reinstall."));
}

TEST_F(Startup, TheTemplateMessageComesAfterTheBanner) {
  ASSERT_TRUE(deleteFile(inFolder("\\data\\top.inc")));
  std::string boxThen;
  sim::shell().onMessageBox = [&](const std::string&) { boxThen = box(); };
  EXPECT_THROW(Form1_Load(), sim::ProcessEnded);
  EXPECT_EQ(boxThen, kBanner);
}

// ---- window, icon, title ----

TEST_F(Startup, TheWindowIsShownWithItsTitleAndTheIcon) {
  Form1_Load();
  EXPECT_TRUE(form1.visible);
  EXPECT_EQ(form1.windowState, WindowState::normal);
  EXPECT_EQ(form1.caption, "Vornelle (v1.0.0) ");
  EXPECT_EQ(sim::shell().iconAdds, 1);
  EXPECT_THAT(sim::shell().iconTips, ElementsAre(" Vornelle "));
}

TEST_F(Startup, AStartMinimizedHasNoVisibleWindowOnlyTheIcon) {
  makeFile("\\Vornelle.ini", "START_MINIMIZED=TRUE\r\n");
  bool seen = false;
  form1.onWindowChange = [&] { seen = seen || form1.visible; };
  Form1_Load();
  EXPECT_FALSE(seen);
  EXPECT_EQ(form1.windowState, WindowState::minimized);
  EXPECT_TRUE(sim::shell().iconShown);
  iconMessage(514);
  EXPECT_TRUE(form1.visible);
  EXPECT_EQ(form1.windowState, WindowState::normal);
}

TEST_F(Startup, WindowIconAndTitleFollowTheBannerInThisOrder) {
  std::vector<std::string> order;
  form1.LogWindow.onReplace = [&] { order.push_back("banner"); };
  form1.onWindowChange = [&] {
    order.push_back(std::string(form1.visible ? "visible" : "hidden") +
                    (sim::shell().iconShown ? " icon " : " ") + form1.caption);
  };
  Form1_Load();
  EXPECT_THAT(order, ElementsAre("banner", "visible Vornelle", "visible icon Vornelle (v1.0.0) "));
}

// ---- schedule ----

TEST_F(Startup, TheMinuteCounterStartsTwoMinutesBeforeTheFirstRun) {
  makeFile("\\Vornelle.ini", "CHECK_MIN=45\r\n");
  Form1_Load();
  EXPECT_EQ(form1.minutesSinceCheck, 43);
}

TEST_F(Startup, TheFirstAutomaticFilterRunComesTwoMinutesAfterStart) {
  makeFile("\\Vornelle.ini", "ACTIVATE_START=TRUE\r\nCHECK_MIN=30\r\n");
  Form1_Load();
  const std::string noFriends = "You need to set up your FriendList first!";
  sim::advance(119'000);
  EXPECT_THAT(box(), Not(HasSubstr(noFriends)));
  sim::advance(31'000);  // at most one interval of Timer1 later
  EXPECT_THAT(box(), HasSubstr(noFriends));
}

TEST_F(Startup, WithoutTheActiveSwitchNoFilterRunComes) {
  Form1_Load();
  sim::advance(2 * 3600'000);
  EXPECT_EQ(box(), kBanner);
}

TEST_F(Startup, TheSessionTimerEndsASession) {
  makeFile("\\Vornelle.ini", "SESSION_MIN=20\r\n");
  Form1_Load();
  form1.sessionId = std::string(64, 'Q');
  sim::advance(19 * 60'000);
  EXPECT_NE(form1.sessionId, "");
  sim::advance(2 * 60'000);
  EXPECT_EQ(form1.sessionId, "");
}

TEST_F(Startup, TheGatewayListensOnThePortThatTheListenerGot) {
  sim::occupyPort(LoopbackAddress::ipv4, 7000);
  Form1_Load();
  EXPECT_EQ(sim::listeningPort(LoopbackAddress::ipv6), 7001);
}

TEST_F(Startup, WithoutAListenerThereIsNoGateway) {
  makeFile("\\Vornelle.ini", "HTTP_PORT_CFG=65536\r\n");
  Form1_Load();
  EXPECT_EQ(sim::listeningPort(LoopbackAddress::ipv6), 0);
  EXPECT_THAT(sim::shell().messageBoxes, ElementsAre("Error on loading winsock."));
  EXPECT_TRUE(form1.visible);
}

TEST_F(Startup, ATerminationRequestIsTheCloseButton) {
  makeFile("\\Vornelle.ini", "POP_ACCOUNT=joe\r\n");
  Form1_Load();
  settings.POP_ACCOUNT = "ann";
  sim::requestTermination();
  EXPECT_THROW(doEvents(), sim::ProcessEnded);
  EXPECT_THAT(contentOf("\\Vornelle.ini"), HasSubstr("POP_ACCOUNT=ann\r\n"));
  EXPECT_THAT(logFile(), EndsWith(stamped("***Closing Vornelle***") + stamped("************************")));
}

}  // namespace
}  // namespace vornelle
