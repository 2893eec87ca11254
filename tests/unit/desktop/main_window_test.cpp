#include "desktop/main_window.h"

#include "core/settings.h"
#include "tests/unit/support.h"

namespace vornelle {
namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;

class MainWindow : public SimTest {
 protected:
  MainWindow() {
    assignConstants();
    sim::shell().startupFolder = applicationFolder() + "\\";
    form1.onWindowChange = [this] {
      events.push_back(std::string(form1.windowState == WindowState::minimized ? "minimized" : "normal") +
                       (form1.visible ? " visible" : " hidden"));
    };
    form1.onRaise = [this] { events.push_back("raise"); };
  }

  std::vector<std::string> events;
};

TEST_F(MainWindow, TheTitleIsNameAndVersionAndOneBlank) {
  titlebarUpdate();
  EXPECT_EQ(form1.caption, "Vornelle (v1.0.0) ");
  EXPECT_EQ(events.size(), 1u);
}

TEST_F(MainWindow, MinimisingHidesTheWindow) {
  showMainWindow();
  windowResized(WindowState::minimized);
  EXPECT_FALSE(form1.visible);
  EXPECT_EQ(form1.windowState, WindowState::minimized);
  EXPECT_THAT(events, ElementsAre("normal visible", "minimized hidden"));
}

TEST_F(MainWindow, AWindowMinimisedBeforeItIsShownStaysHidden) {
  windowResized(WindowState::minimized);
  showMainWindow();
  EXPECT_FALSE(form1.visible);
}

TEST_F(MainWindow, AResizeToTheStateThatTheWindowHasChangesNothing) {
  showMainWindow();
  windowResized(WindowState::normal);
  windowResized(WindowState::minimized);
  windowResized(WindowState::minimized);
  EXPECT_THAT(events, ElementsAre("normal visible", "minimized hidden"));
}

TEST_F(MainWindow, ALeftClickOrDoubleClickOnTheIconRestoresRaisesAndShows) {
  for (const int message : {514, 515}) {
    form1.visible = true;
    form1.windowState = WindowState::normal;
    windowResized(WindowState::minimized);
    events.clear();
    iconMessage(message);
    EXPECT_THAT(events, ElementsAre("normal hidden", "raise", "normal visible"));
  }
}

TEST_F(MainWindow, AnIconClickRaisesAWindowThatIsCoveredByOthers) {
  showMainWindow();
  events.clear();
  iconMessage(514);
  EXPECT_THAT(events, testing::Contains("raise"));
  EXPECT_TRUE(form1.visible);
}

TEST_F(MainWindow, EveryOtherIconMessageDoesNothing) {
  windowResized(WindowState::minimized);
  events.clear();
  for (int message = 0; message < 1100; ++message) {
    if (message != 514 && message != 515) iconMessage(message);
  }
  EXPECT_THAT(events, IsEmpty());
  EXPECT_FALSE(form1.visible);
}

TEST_F(MainWindow, StartMinimizedLogsItsNewState) {
  form1.ckStartMinimized.onClick = ckStartMinimizedClick;
  form1.ckStartMinimized.setChecked(true);
  EXPECT_THAT(form1.LogWindow.text(), EndsWith("] Vornelle will start with window minimized\r\n"));
  form1.ckStartMinimized.setChecked(false);
  EXPECT_THAT(form1.LogWindow.text(), EndsWith("] Vornelle will start with window open\r\n"));
}

TEST_F(MainWindow, CheckingAutostartMakesTheShortcut) {
  form1.ckAutostart.onClick = ckAutostartClick;
  form1.ckAutostart.setChecked(true);
  EXPECT_THAT(sim::shell().links, ElementsAre(std::pair<std::string, std::string>(
                                      "Vornelle", applicationFolder() + "\\vornelle.exe")));
  EXPECT_TRUE(startupLinkExists());
  EXPECT_EQ(form1.LogWindow.text(), "");
}

TEST_F(MainWindow, CheckingAutostartMakesNoSecondShortcut) {
  makeFile("\\vornelle.lnk", "");
  form1.ckAutostart.onClick = ckAutostartClick;
  form1.ckAutostart.setChecked(true);
  EXPECT_THAT(sim::shell().links, IsEmpty());
  EXPECT_TRUE(startupLinkExists());
}

TEST_F(MainWindow, UncheckingAutostartDeletesTheShortcut) {
  makeFile("\\Vornelle.lnk", "");
  form1.ckAutostart.setChecked(true);
  form1.ckAutostart.onClick = ckAutostartClick;
  form1.ckAutostart.setChecked(false);
  EXPECT_FALSE(startupLinkExists());
  EXPECT_EQ(form1.LogWindow.text(), "");
}

TEST_F(MainWindow, UncheckingAutostartWithoutAShortcutDoesNothing) {
  form1.ckAutostart.setChecked(true);
  form1.ckAutostart.onClick = ckAutostartClick;
  form1.ckAutostart.setChecked(false);
  EXPECT_THAT(sim::shell().links, IsEmpty());
  EXPECT_FALSE(startupLinkExists());
}

TEST_F(MainWindow, AutostartWithoutAStartupFolderIsSilent) {
  sim::shell().startupFolder = "";
  form1.ckAutostart.onClick = ckAutostartClick;
  form1.ckAutostart.setChecked(true);
  form1.ckAutostart.setChecked(false);
  EXPECT_EQ(form1.LogWindow.text(), "");
  EXPECT_THAT(sim::shell().messageBoxes, IsEmpty());
}

TEST_F(MainWindow, LaunchOpensTheLocalAddressWithThePortInUse) {
  settings.httpPort = 7003;
  cmdOpenBrowserClick();
  EXPECT_THAT(sim::shell().openedAddresses, ElementsAre("http://localhost:7003"));
}

TEST_F(MainWindow, ABrowserThatCannotBeLaunchedIsSilent) {
  sim::shell().launchesBrowser = false;
  cmdOpenBrowserClick();
  EXPECT_EQ(sim::shell().openedAddresses.size(), 1u);
  EXPECT_EQ(form1.LogWindow.text(), "");
  EXPECT_THAT(sim::shell().messageBoxes, IsEmpty());
  EXPECT_EQ(sim::shell().beeps, 0);
}

TEST_F(MainWindow, AShortcutThatCannotBeMadeIsSilentAndTheBoxStaysChecked) {
  sim::failWritesTo("Vornelle.lnk");
  form1.ckAutostart.onClick = ckAutostartClick;
  form1.ckAutostart.setChecked(true);
  sim::failWritesTo("");
  EXPECT_FALSE(startupLinkExists());
  EXPECT_TRUE(form1.ckAutostart.checked());
  EXPECT_EQ(form1.LogWindow.text(), "");
  EXPECT_THAT(sim::shell().messageBoxes, IsEmpty());
}

TEST_F(MainWindow, StartMinimizedReachesTheFileAtTheNextSave) {
  form1.ckStartMinimized.onClick = ckStartMinimizedClick;
  form1.ckStartMinimized.setChecked(true);
  EXPECT_EQ(contentOf("\\Vornelle.ini"), "(missing)");
  configSave();
  EXPECT_THAT(contentOf("\\Vornelle.ini"), testing::HasSubstr("START_MINIMIZED=TRUE\r\n"));
}

TEST_F(MainWindow, ExitEndsTheProgram) {
  EXPECT_THROW(mnuExitClick(), sim::ProcessEnded);
  EXPECT_TRUE(fileExists(inFolder("\\Vornelle.ini")));
}

}  // namespace
}  // namespace vornelle
