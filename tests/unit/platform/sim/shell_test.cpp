#include "platform/shell.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <string>

#include "platform/clock.h"
#include "platform/download.h"
#include "platform/events.h"
#include "platform/files.h"
#include "platform/modPopup.h"
#include "platform/modSpecialFolders.h"
#include "platform/random.h"
#include "platform/sim/sim.h"

namespace vornelle {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

class SimShellTest : public testing::Test {
 protected:
  SimShellTest() { sim::reset(); }
};

TEST_F(SimShellTest, WhatTheProgramDoesIsWrittenDown) {
  beep();
  beep();
  EXPECT_TRUE(openInBrowser("http://localhost:7000"));
  EXPECT_TRUE(notifyIconAdd(" Vornelle "));
  EXPECT_TRUE(sim::shell().iconShown);
  EXPECT_TRUE(notifyIconModifyTip("tip"));
  EXPECT_TRUE(notifyIconDelete());
  EXPECT_EQ(sim::shell().beeps, 2);
  EXPECT_THAT(sim::shell().openedAddresses, ElementsAre("http://localhost:7000"));
  EXPECT_EQ(sim::shell().iconAdds, 1);
  EXPECT_EQ(sim::shell().iconDeletes, 1);
  EXPECT_FALSE(sim::shell().iconShown);
  EXPECT_THAT(sim::shell().iconTips, ElementsAre(" Vornelle ", "tip"));
  sim::reset();
  EXPECT_EQ(sim::shell().beeps, 0);
  EXPECT_THAT(sim::shell().iconTips, IsEmpty());
}

TEST_F(SimShellTest, EventsMayBeServedWhileAMessageBoxIsOpen) {
  int steps = 0;
  sim::after(0, [&] { ++steps; });
  sim::shell().onMessageBox = [](const std::string&) { doEvents(); };
  messageBox("text");
  EXPECT_THAT(sim::shell().messageBoxes, ElementsAre("text"));
  EXPECT_EQ(steps, 1);
}

TEST_F(SimShellTest, TheEndOfTheProcessIsAnException) {
  sim::after(0, [] { endProcess(); });
  int later = 0;
  sim::after(0, [&] { ++later; });
  EXPECT_THROW(doEvents(), sim::ProcessEnded);
  EXPECT_EQ(later, 0);
  doEvents();
  EXPECT_EQ(later, 1);
}

TEST_F(SimShellTest, TheStartupFolderHoldsTheLinks) {
  EXPECT_EQ(getSpecialFolder(7), "");
  EXPECT_FALSE(createStartupLink("Vornelle", "target"));
  sim::shell().startupFolder = applicationFolder() + "\\Startup";
  EXPECT_EQ(getSpecialFolder(7), applicationFolder() + "\\Startup\\");
  EXPECT_EQ(getSpecialFolder(5), "");
  EXPECT_TRUE(createStartupLink("Vornelle", "target"));
  EXPECT_THAT(sim::shell().links, ElementsAre(Pair("Vornelle", "target")));
  EXPECT_TRUE(fileExists(getSpecialFolder(7) + "vornelle.lnk"));
}

TEST_F(SimShellTest, DownloadsAreThoseOfTheTest) {
  sim::shell().downloads["http://a.example/"] = "text";
  EXPECT_EQ(downloadUrl("http://a.example/"), "text");
  EXPECT_EQ(downloadUrl("http://b.example/"), "");
  EXPECT_THAT(sim::shell().downloadedUrls, ElementsAre("http://a.example/", "http://b.example/"));
}

TEST_F(SimShellTest, OtherThingsAreAsTheTestSetsThem) {
  EXPECT_FALSE(previousInstanceRunning());
  sim::shell().previousInstance = true;
  EXPECT_TRUE(previousInstanceRunning());
  EXPECT_EQ(amPmDesignator(false), "AM");
  sim::shell().pmDesignator = "nachm.";
  EXPECT_EQ(amPmDesignator(true), "nachm.");
}

TEST_F(SimShellTest, RandomNumbersAreAFixedSequence) {
  const auto draw = [] {
    std::array<unsigned char, 16> bytes{};
    EXPECT_TRUE(fillRandom(bytes.data(), bytes.size()));
    return bytes;
  };
  const auto first = draw();
  EXPECT_NE(draw(), first);
  sim::reset();
  EXPECT_EQ(draw(), first);
  sim::setRandomSeed(7);
  EXPECT_NE(draw(), first);
}

class SimFilesTest : public SimShellTest {};

TEST_F(SimFilesTest, EachWorldHasAFreshFolderWithAnEmptyDataFolder) {
  const std::string first = applicationFolder();
  EXPECT_TRUE(folderExists(first + "\\data"));
  EXPECT_TRUE(writeFile(first + "\\data\\a.txt", "x"));
  sim::reset();
  EXPECT_FALSE(folderExists(first)) << "the old one is removed";
  EXPECT_TRUE(folderExists(applicationFolder() + "\\data"));
  EXPECT_FALSE(fileExists(applicationFolder() + "\\data\\a.txt"));
}

TEST_F(SimFilesTest, WritesToTheNamedPathFailAndLeaveTheFileAlone) {
  const std::string path = applicationFolder() + "\\Vornelle.ini";
  EXPECT_TRUE(writeFile(path, "old"));
  sim::failWritesTo("Vornelle.ini");
  EXPECT_FALSE(writeFile(path, "new"));
  EXPECT_FALSE(appendFile(path, "new"));
  EXPECT_TRUE(writeFile(applicationFolder() + "\\other", "x"));
  EXPECT_EQ(readFile(path), "old");
  sim::failWritesTo("");
  EXPECT_TRUE(appendFile(path, "er"));
  EXPECT_EQ(readFile(path), "older");
}

TEST_F(SimFilesTest, ReadsOfTheNamedPathFail) {
  const std::string path = applicationFolder() + "\\data\\top.inc";
  EXPECT_TRUE(writeFile(path, "x"));
  sim::failReadsOf("\\data\\");
  EXPECT_EQ(readFile(path), std::nullopt);
  EXPECT_TRUE(fileExists(path));
  sim::reset();
  EXPECT_TRUE(writeFile(applicationFolder() + "\\data\\top.inc", "y"));
  EXPECT_EQ(readFile(applicationFolder() + "\\data\\top.inc"), "y");
}

TEST_F(SimFilesTest, TheApplicationFolderIsTakenByItsOwnSpelling) {
  // Above it no letter case is guessed; below it every one will do.
  EXPECT_TRUE(writeFile(applicationFolder() + "\\DATA\\A.txt", "x"));
  EXPECT_EQ(readFile(applicationFolder() + "/data/a.TXT"), "x");
}

}  // namespace
}  // namespace vornelle
