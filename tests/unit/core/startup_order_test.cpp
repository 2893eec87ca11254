// The order of start-up, seen by events that are served in the middle of it, and the copy that is one too
// many.
#include "core/startup.h"

#include "core/event_log.h"
#include "core/form1.h"
#include "core/settings.h"
#include "tests/unit/core/startup_test_support.h"

namespace vornelle {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

// ---- second copy ----

TEST_F(Startup, ASecondCopyWarnsWaitsFiveSecondsAndEndsWithoutSaving) {
  makeFile("\\Vornelle.ini", "POP_ACCOUNT=joe\r\n");
  sim::shell().previousInstance = true;
  sim::occupyPort(LoopbackAddress::ipv4, 7000);
  ASSERT_TRUE(createFolder(inFolder("\\spam")));
  makeFile("\\Vornelle.log", "the first copy\r\n");
  form1.ckTestMode.setChecked(true);  // so that loading logs nothing
  EXPECT_THROW(Form1_Load(), sim::ProcessEnded);

  EXPECT_EQ(sim::shell().beeps, 1);
  EXPECT_EQ(sim::elapsedMilliseconds(), 5000);
  EXPECT_EQ(contentOf("\\Vornelle.ini"), "POP_ACCOUNT=joe\r\n");
  EXPECT_EQ(logFile(),
            "the first copy\r\n" + stamped(" ") +
                stamped("***Vornelle is already running! This instance will terminate in 5 seconds.") +
                stamped("***Closing Vornelle***") + stamped("************************"));
  // By then it had its listener, window, icon and title.
  EXPECT_THAT(box(), AllOf(StartsWith("Vornelle started: "), HasSubstr("http://localhost:7001\r\n")));
  EXPECT_TRUE(form1.visible);
  EXPECT_EQ(sim::shell().iconAdds, 1);
  EXPECT_EQ(form1.caption, "Vornelle (v1.0.0) ");
}

TEST_F(Startup, ThePauseOfASecondCopyServesNothing) {
  sim::shell().previousInstance = true;
  std::int64_t servedAt = -1;
  form1.LogWindow.onAppend = [&](std::string_view text) {
    if (text.find("already running") == std::string_view::npos) return;
    sim::after(1000, [&] { servedAt = sim::elapsedMilliseconds(); });
  };
  EXPECT_THROW(Form1_Load(), sim::ProcessEnded);
  EXPECT_EQ(servedAt, 5000);
}

TEST_F(Startup, ASecondCopyBeepsBeforeItWarns) {
  sim::shell().previousInstance = true;
  int beepsThen = -1;
  form1.LogWindow.onAppend = [&](std::string_view line) {
    if (line == stamped(" ")) beepsThen = sim::shell().beeps;
  };
  EXPECT_THROW(Form1_Load(), sim::ProcessEnded);
  EXPECT_EQ(beepsThen, 1);
}

TEST_F(Startup, AnEndInTheMiddleOfTheWarningSavesNothingEither) {
  makeFile("\\Vornelle.ini", "POP_ACCOUNT=joe\r\n");
  sim::shell().previousInstance = true;
  form1.LogWindow.onAppend = [&](std::string_view line) {
    if (line == stamped(" ")) sim::requestTermination();
  };
  EXPECT_THROW(Form1_Load(), sim::ProcessEnded);
  EXPECT_EQ(contentOf("\\Vornelle.ini"), "POP_ACCOUNT=joe\r\n");
  EXPECT_EQ(sim::elapsedMilliseconds(), 0);
}

TEST_F(Startup, ASecondCopySchedulesNoFilterRun) {
  sim::shell().previousInstance = true;
  EXPECT_THROW(Form1_Load(), sim::ProcessEnded);
  EXPECT_EQ(form1.minutesSinceCheck, 0);
}

// ---- nested handlers ----

TEST_F(Startup, EventsAreServedWhileStartUpLogs) {
  bool listeningThen = true;
  sim::after(0, [&] { listeningThen = sim::listeningPort(LoopbackAddress::ipv4) != 0; });
  Form1_Load();
  EXPECT_FALSE(listeningThen);  // served inside the line about the spam folder, long before the listener
}

TEST_F(Startup, TheBannerLetsEventsBeServedBeforeTheWindowIsShown) {
  bool served = false;
  form1.LogWindow.onReplace = [&] { sim::after(0, [&] { served = !form1.visible; }); };
  Form1_Load();
  EXPECT_TRUE(served);
}

TEST_F(Startup, AHandlerThatLogsInsideStartUpKeepsItsLineInTheFileOnly) {
  sim::after(0, [] { LogWindowAdd("nested"); });
  Form1_Load();
  EXPECT_THAT(logFile(), StartsWith(stamped("nested") + stamped("Creating spam subdirectory...")));
  EXPECT_EQ(box(), kBanner);
}

TEST_F(Startup, TheProgramCanBeEndedInsideItsStart) {
  sim::after(0, [] { Form1_Unload(); });
  EXPECT_THROW(Form1_Load(), sim::ProcessEnded);
  EXPECT_THAT(box(), EndsWith(stamped("************************")));
}

TEST_F(Startup, AnEndBeforeTheSettingsAreReadLeavesTheirFileAlone) {
  makeFile("\\Vornelle.ini", "POP_PASSWORD=secret\r\n");
  sim::after(0, [] { Form1_Unload(); });  // served inside the line about the spam folder
  EXPECT_THROW(Form1_Load(), sim::ProcessEnded);
  EXPECT_EQ(contentOf("\\Vornelle.ini"), "POP_PASSWORD=secret\r\n");
}

TEST_F(Startup, AnEndWhileTheSwitchesAreSetLeavesTheSettingsFileAlone) {
  const std::string lines = "ACTIVATE_START=TRUE\r\nTEST_MODE=TRUE\r\n";
  makeFile("\\Vornelle.ini", lines);
  form1.LogWindow.onAppend = [](std::string_view line) {
    if (line.find("Automatic mail filtering on") != std::string_view::npos) sim::requestTermination();
  };
  EXPECT_THROW(Form1_Load(), sim::ProcessEnded);
  EXPECT_FALSE(form1.ckTestMode.checked());  // it would have been saved as off
  EXPECT_EQ(contentOf("\\Vornelle.ini"), lines);
}

TEST_F(Startup, ASettingsFileThatCouldNotBeReadIsNotReplacedByDefaultsAtTheEnd) {
  makeFile("\\Vornelle.ini", "POP_PASSWORD=secret\r\n");
  sim::failReadsOf("Vornelle.ini");
  Form1_Load();
  sim::failReadsOf("");
  EXPECT_THROW(Form1_Unload(), sim::ProcessEnded);
  EXPECT_EQ(contentOf("\\Vornelle.ini"), "POP_PASSWORD=secret\r\n");
}

TEST_F(Startup, SettingsThatTheUserSavesCountAlthoughTheFileCouldNotBeRead) {
  makeFile("\\Vornelle.ini", "POP_PASSWORD=secret\r\n");
  sim::failReadsOf("Vornelle.ini");
  Form1_Load();
  sim::failReadsOf("");
  configSave();
  settings.POP_PASSWORD = "new";
  EXPECT_THROW(Form1_Unload(), sim::ProcessEnded);
  EXPECT_THAT(contentOf("\\Vornelle.ini"), HasSubstr("POP_PASSWORD=new\r\n"));
}

TEST_F(Startup, TheSpamFolderComesBeforeTheLists) {
  bool folder = false, list = true;
  sim::after(0, [&] {  // served inside the line about the spam folder
    folder = folderExists(inFolder("\\spam"));
    list = fileExists(inFolder("\\data\\enemylist.txt"));
  });
  Form1_Load();
  EXPECT_TRUE(folder);
  EXPECT_FALSE(list);
}

TEST_F(Startup, TheListsAreMadeInTheOrderOfTheirNames) {
  std::vector<std::string> made;
  sim::beforeWrites([&](const std::string& path) {
    if (path.ends_with("list.txt")) made.push_back(path.substr(path.rfind('\\') + 1));
  });
  Form1_Load();
  EXPECT_THAT(made, ElementsAre("enemylist.txt", "friendlist.txt", "subjectlist.txt"));
}

TEST_F(Startup, AStartMinimizedIsMinimizedBeforeTheBanner) {
  makeFile("\\Vornelle.ini", "START_MINIMIZED=TRUE\r\n");
  WindowState then = WindowState::normal;
  form1.LogWindow.onReplace = [&] { then = form1.windowState; };
  Form1_Load();
  EXPECT_EQ(then, WindowState::minimized);
}

TEST_F(Startup, TheListenerIsUpBeforeTheBannerIsWritten) {
  int port = 0;
  form1.LogWindow.onReplace = [&] { port = sim::listeningPort(LoopbackAddress::ipv4); };
  Form1_Load();
  EXPECT_EQ(port, 7000);
}

}  // namespace
}  // namespace vornelle
