#include "platform/shell.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "platform/modGoToSleep.h"
#include "platform/modPopup.h"
#include "platform/modSpecialFolders.h"

namespace vornelle {
namespace {

// A copy of the program: asks, tells the answer, stays until it is killed.
struct Copy {
  Copy() {
    int ends[2];
    if (pipe(ends) != 0) return;
    pid = fork();
    if (pid == 0) {
      const char answer = previousInstanceRunning() ? 'y' : 'n';
      if (write(ends[1], &answer, 1) != 1) _exit(1);
      while (true) pause(1000);
    }
    close(ends[1]);
    char answer = '?';
    if (read(ends[0], &answer, 1) == 1) previousRunning = answer;
    close(ends[0]);
  }
  ~Copy() { end(); }
  void end() {
    if (pid <= 0) return;
    kill(pid, SIGKILL);
    waitpid(pid, nullptr, 0);
    pid = -1;
  }
  pid_t pid = -1;
  char previousRunning = '?';
};

TEST(PosixShellTest, ASecondCopyInTheFolderIsSeenAndNothingIsLeftOfAKilledOne) {
  Copy first;
  EXPECT_EQ(first.previousRunning, 'n');
  Copy second;
  EXPECT_EQ(second.previousRunning, 'y');
  Copy third;
  EXPECT_EQ(third.previousRunning, 'y') << "a second copy does not take the first one's place";
  first.end();
  Copy fourth;
  EXPECT_EQ(fourth.previousRunning, 'n');
}

TEST(PosixShellTest, EndProcessEndsWithStatusZeroAtOnce) {
  EXPECT_EXIT(
      {
        std::atexit([] { _exit(3); });
        endProcess();
      },
      testing::ExitedWithCode(0), "");
}

TEST(PosixShellTest, EndProcessLosesNoOutput) {
  EXPECT_EXIT(
      {
        static char buffer[1000];
        std::setvbuf(stderr, buffer, _IOFBF, sizeof buffer);
        std::fputs("last words", stderr);
        endProcess();
      },
      testing::ExitedWithCode(0), "last words");
}

TEST(PosixShellTest, AMessageBoxGoesToStandardError) {
  testing::internal::CaptureStderr();
  messageBox("Missing installation files. Please reinstall.");
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "Vornelle: Missing installation files. Please reinstall.\n");
}

TEST(PosixShellTest, ThereIsNoIconAndNoShortcut) {
  beep();
  EXPECT_EQ(getSpecialFolder(7), "");
  EXPECT_FALSE(createStartupLink("Vornelle", "\\vornelle"));
  EXPECT_FALSE(notifyIconAdd("tip"));
  EXPECT_FALSE(notifyIconModifyTip("tip"));
  EXPECT_FALSE(notifyIconDelete());
}

class BrowserTest : public testing::Test {
 protected:
  BrowserTest() {
    std::string pattern = (std::filesystem::temp_directory_path() / "browser-test-XXXXXX").string();
    EXPECT_NE(mkdtemp(pattern.data()), nullptr);
    folder = pattern;
    oldPath = std::getenv("PATH");
    setenv("PATH", (folder + ":" + oldPath).c_str(), 1);
    setenv("DISPLAY", ":99", 1);
    unsetenv("WAYLAND_DISPLAY");
  }
  ~BrowserTest() override {
    setenv("PATH", oldPath.c_str(), 1);
    unsetenv("DISPLAY");
    std::filesystem::remove_all(folder);
  }

  void makeOpener() const {
    std::ofstream(folder + "/xdg-open") << "#!/bin/sh\nprintf %s \"$1\" > '" << folder << "/part'\n"
                                        << "mv '" << folder << "/part' '" << folder << "/opened'\n";
    chmod((folder + "/xdg-open").c_str(), 0700);
  }

  [[nodiscard]] std::string opened() const {
    std::ifstream file(folder + "/opened");
    return {std::istreambuf_iterator<char>(file), {}};
  }

  std::string folder, oldPath;
};

TEST_F(BrowserTest, AnAddressIsHandedToTheDesktopsOpener) {
  makeOpener();
  EXPECT_TRUE(openInBrowser("http://localhost:7000"));
  for (int i = 0; i < 500 && opened().empty(); ++i) pause(10);
  EXPECT_EQ(opened(), "http://localhost:7000");
}

TEST_F(BrowserTest, WithoutAnOpenerOrAScreenNothingIsOpened) {
  setenv("PATH", folder.c_str(), 1);
  EXPECT_FALSE(openInBrowser("http://localhost:7000"));
  makeOpener();
  unsetenv("DISPLAY");
  EXPECT_FALSE(openInBrowser("http://localhost:7000"));
}

TEST_F(BrowserTest, OnlyWebAddressesAreOpened) {
  makeOpener();
  EXPECT_FALSE(openInBrowser("/etc/passwd"));
  EXPECT_FALSE(openInBrowser("--help"));
}

}  // namespace
}  // namespace vornelle
