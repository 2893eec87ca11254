#include "platform/files.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <string>

#include "tests/unit/platform/seam/files_support.h"

namespace vornelle {
namespace {

using testing::IsEmpty;
using testing::UnorderedElementsAre;

using PosixFilesTest = FilesTest;

TEST_F(PosixFilesTest, TheExactSpellingIsPreferred) {
  ASSERT_TRUE(writeFile(folder + "\\name.txt", "lower"));
  ASSERT_EQ(rename((onDisk / "name.txt").c_str(), (onDisk / "keep").c_str()), 0);
  ASSERT_TRUE(writeFile(folder + "\\NAME.TXT", "upper"));
  ASSERT_EQ(rename((onDisk / "keep").c_str(), (onDisk / "name.txt").c_str()), 0);
  EXPECT_EQ(readFile(folder + "\\name.txt"), "lower");
  EXPECT_EQ(readFile(folder + "\\NAME.TXT"), "upper");
}

TEST_F(PosixFilesTest, AReplacedFileKeepsItsModeAndANewOneIsPrivate) {
  EXPECT_TRUE(writeFile(folder + "\\a", "one"));
  struct stat status;
  ASSERT_EQ(stat((onDisk / "a").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0600u);
  ASSERT_EQ(chmod((onDisk / "a").c_str(), 0644), 0);
  EXPECT_TRUE(writeFile(folder + "\\a", "two"));
  ASSERT_EQ(stat((onDisk / "a").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0644u);
}

TEST_F(PosixFilesTest, ALinkStaysAndItsTargetIsReplaced) {
  EXPECT_TRUE(createFolder(folder + "\\elsewhere"));
  EXPECT_TRUE(writeFile(folder + "\\elsewhere\\target", "old"));
  ASSERT_EQ(symlink("elsewhere/target", (onDisk / "link").c_str()), 0);
  EXPECT_TRUE(writeFile(folder + "\\link", "new"));
  EXPECT_EQ(readFile(folder + "\\elsewhere\\target"), "new");
  EXPECT_TRUE(std::filesystem::is_symlink(onDisk / "link"));
}

TEST_F(PosixFilesTest, WhatACrashLeftBehindIsInNoListAndIsUsedUp) {
  {
    const native::FullDisk full(0);
    const pid_t child = fork();
    if (child == 0) {
      // Ends in the middle of a write, as a crash does.
      signal(SIGXFSZ, SIG_DFL);
      _exit(writeFile(folder + "\\mail.txt", "content") ? 0 : 1);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFSIGNALED(status));
  }
  ASSERT_EQ(namesOnDisk().size(), 1u);
  EXPECT_THAT(listed(""), IsEmpty());
  EXPECT_FALSE(fileExists(folder + "\\mail.txt"));
  EXPECT_TRUE(writeFile(folder + "\\mail.txt", "content"));
  EXPECT_THAT(namesOnDisk(), UnorderedElementsAre("mail.txt"));
}

// A program that runs cannot be written to, not even by root.
TEST_F(PosixFilesTest, AFileThatCanNeitherBeReplacedNorWrittenIsLeftAsItWas) {
  std::filesystem::copy_file("/bin/sleep", onDisk / "busy");
  const std::optional<std::string> before = readFile(folder + "\\busy");
  const pid_t child = fork();
  if (child == 0) {
    execl((onDisk / "busy").c_str(), "busy", "60", nullptr);
    _exit(1);
  }
  const auto isRunning = [&] {
    std::error_code none;
    return std::filesystem::read_symlink("/proc/" + std::to_string(child) + "/exe", none) == onDisk / "busy";
  };
  while (!isRunning()) usleep(1000);
  {
    const native::HeldFile held(onDisk / "busy");
    EXPECT_FALSE(writeFile(folder + "\\busy", "new"));
  }
  kill(child, SIGKILL);
  waitpid(child, nullptr, 0);
  EXPECT_EQ(readFile(folder + "\\busy"), before);
}

TEST_F(PosixFilesTest, ANamedPipeBlocksNobody) {
  ASSERT_EQ(mkfifo((onDisk / "pipe").c_str(), 0600), 0);
  EXPECT_FALSE(fileExists(folder + "\\pipe"));
  EXPECT_EQ(readFile(folder + "\\pipe"), std::nullopt);
  EXPECT_FALSE(appendFile(folder + "\\pipe", "x"));
}

}  // namespace
}  // namespace vornelle
