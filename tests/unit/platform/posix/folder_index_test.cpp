#include "platform/unix/folder_index.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "tests/unit/platform/seam/files_support.h"

namespace vornelle {
namespace {

using files::entryInAnyCase;
using files::foldersRead;

class FolderIndexTest : public FilesTest {
 protected:
  void touch(const std::string& name) const { std::ofstream(onDisk / name) << "x"; }
  [[nodiscard]] std::optional<std::string> find(const std::string& name) const {
    return entryInAnyCase(onDisk, name);
  }
};

TEST_F(FolderIndexTest, AFolderIsReadOnceHoweverOftenItIsSavedInto) {
  ASSERT_TRUE(writeFile(folder + "\\first.txt", "x"));
  ASSERT_FALSE(fileExists(folder + "\\missing.txt"));
  const std::size_t before = foldersRead();
  for (int n = 0; n < 500; ++n) {
    ASSERT_TRUE(writeFile(folder + "\\mail" + std::to_string(n) + ".txt", "x"));
    ASSERT_TRUE(fileExists(folder + "\\MAIL" + std::to_string(n) + ".txt"));
  }
  EXPECT_EQ(foldersRead(), before);
}

TEST_F(FolderIndexTest, OfSeveralSpellingsTheFirstInTheOrderOfBytesIsMeant) {
  touch("name");
  touch("Name");
  touch("naMe");
  EXPECT_EQ(find("NAME"), "Name");
  std::filesystem::remove(onDisk / "Name");
  EXPECT_EQ(find("NAME"), "naMe");
  std::filesystem::remove(onDisk / "naMe");
  EXPECT_EQ(find("NAME"), "name");
  std::filesystem::remove(onDisk / "name");
  EXPECT_EQ(find("NAME"), std::nullopt);
}

TEST_F(FolderIndexTest, AFolderThatIsNotThereHasNoEntries) {
  EXPECT_EQ(entryInAnyCase(onDisk / "none", "x"), std::nullopt);
  touch("file");
  EXPECT_EQ(entryInAnyCase(onDisk / "file", "x"), std::nullopt);
}

TEST_F(FolderIndexTest, WhenReportsAreLostTheFolderIsReadAgain) {
  ASSERT_EQ(find("x"), std::nullopt);
  int most = 0;
  std::ifstream("/proc/sys/fs/inotify/max_queued_events") >> most;
  ASSERT_GT(most, 0);
  ASSERT_LT(most, 1000000) << "too many for this test";
  for (int n = 0; n <= most / 2; ++n) {
    touch("a");
    std::filesystem::remove(onDisk / "a");
  }
  touch("last");
  const std::size_t before = foldersRead();
  EXPECT_EQ(find("LAST"), "last");
  EXPECT_EQ(foldersRead(), before + 1);
}

TEST_F(FolderIndexTest, MoreFoldersThanAreKeptAreStillFound) {
  for (int n = 0; n < 40; ++n) {
    std::filesystem::create_directory(onDisk / std::to_string(n));
    touch(std::to_string(n) + "/name");
  }
  for (int round = 0; round < 2; ++round) {
    for (int n = 0; n < 40; ++n) EXPECT_EQ(entryInAnyCase(onDisk / std::to_string(n), "NAME"), "name");
  }
}

TEST_F(FolderIndexTest, AForkedProcessTakesNoReportsAway) {
  ASSERT_EQ(find("NAME"), std::nullopt);
  touch("name");
  const pid_t child = fork();
  if (child == 0) _exit(find("NAME") == "name" ? 0 : 1);
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
  EXPECT_EQ(find("NAME"), "name");
}

}  // namespace
}  // namespace vornelle
