#include "platform/files.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <string>
#include <vector>

namespace vornelle {
namespace {

using testing::IsEmpty;
using testing::UnorderedElementsAre;

class FilesTest : public testing::Test {
 protected:
  FilesTest() {
    std::string pattern = (std::filesystem::temp_directory_path() / "files-test-XXXXXX").string();
    EXPECT_NE(mkdtemp(pattern.data()), nullptr);
    native = pattern;
    folder = pattern;
    std::replace(folder.begin(), folder.end(), '/', '\\');
  }
  ~FilesTest() override {
    std::error_code ignored;
    std::filesystem::remove_all(native, ignored);
  }

  [[nodiscard]] std::vector<std::string> namesOnDisk() const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(native))
      names.push_back(entry.path().filename());
    return names;
  }

  [[nodiscard]] std::vector<std::string> listed(std::string_view ending) const {
    std::vector<std::string> names;
    for (const FolderEntry& entry : listFolder(folder, ending)) names.push_back(entry.name);
    return names;
  }

  std::string native;  // "/tmp/..."
  std::string folder;  // "\tmp\..."
};

// Lets no file grow past the given length while it lives: as a full disk does.
class FullDisk {
 public:
  explicit FullDisk(rlim_t bytes) {
    signal(SIGXFSZ, SIG_IGN);
    getrlimit(RLIMIT_FSIZE, &old_);
    const rlimit low{bytes, old_.rlim_max};
    setrlimit(RLIMIT_FSIZE, &low);
  }
  ~FullDisk() {
    setrlimit(RLIMIT_FSIZE, &old_);
    signal(SIGXFSZ, SIG_DFL);
  }
  FullDisk(const FullDisk&) = delete;
  FullDisk& operator=(const FullDisk&) = delete;

 private:
  rlimit old_{};
};

TEST_F(FilesTest, TheApplicationFolderIsThatOfTheProgramWithBackslashes) {
  std::string expected = std::filesystem::read_symlink("/proc/self/exe").parent_path();
  std::replace(expected.begin(), expected.end(), '/', '\\');
  EXPECT_EQ(applicationFolder(), expected);
  EXPECT_EQ(applicationFolder().front(), '\\');
  EXPECT_NE(applicationFolder().back(), '\\');
  EXPECT_TRUE(folderExists(applicationFolder()));
}

TEST_F(FilesTest, WhatIsWrittenIsRead) {
  const std::string content = std::string("line\r\n\0\xE4\n", 9);
  EXPECT_TRUE(writeFile(folder + "\\a.txt", content));
  EXPECT_EQ(readFile(folder + "\\a.txt"), content);
  EXPECT_EQ(fileLength(folder + "\\a.txt"), content.size());
  EXPECT_TRUE(writeFile(folder + "\\a.txt", ""));
  EXPECT_EQ(readFile(folder + "\\a.txt"), "");
  EXPECT_EQ(fileLength(folder + "\\a.txt"), 0u);
}

TEST_F(FilesTest, AMissingFileHasNoContentAndNoLength) {
  EXPECT_EQ(readFile(folder + "\\none"), std::nullopt);
  EXPECT_EQ(fileLength(folder + "\\none"), std::nullopt);
  EXPECT_FALSE(fileExists(folder + "\\none"));
  EXPECT_FALSE(deleteFile(folder + "\\none"));
  EXPECT_EQ(readFile(""), std::nullopt);
  EXPECT_FALSE(writeFile("", "x"));
}

TEST_F(FilesTest, AFolderIsNoFileAndAFileNoFolder) {
  EXPECT_TRUE(createFolder(folder + "\\sub"));
  EXPECT_TRUE(folderExists(folder + "\\sub"));
  EXPECT_FALSE(fileExists(folder + "\\sub"));
  EXPECT_EQ(readFile(folder + "\\sub"), std::nullopt);
  EXPECT_EQ(fileLength(folder + "\\sub"), std::nullopt);
  EXPECT_FALSE(writeFile(folder + "\\sub", "x"));
  EXPECT_FALSE(appendFile(folder + "\\sub", "x"));
  EXPECT_FALSE(deleteFile(folder + "\\sub"));
  EXPECT_TRUE(writeFile(folder + "\\file", "x"));
  EXPECT_FALSE(folderExists(folder + "\\file"));
  EXPECT_FALSE(createFolder(folder + "\\file"));
  EXPECT_FALSE(writeFile(folder + "\\file\\below", "x"));
}

TEST_F(FilesTest, AFolderThatIsThereInAnyLetterCaseIsNotMadeAgain) {
  EXPECT_TRUE(createFolder(folder + "\\Spam"));
  EXPECT_TRUE(createFolder(folder + "\\SPAM"));
  EXPECT_THAT(namesOnDisk(), UnorderedElementsAre("Spam"));
  EXPECT_FALSE(createFolder(folder + "\\no\\such"));
}

TEST_F(FilesTest, NamesAreMatchedWithoutRegardToLetterCase) {
  EXPECT_TRUE(createFolder(folder + "\\Data"));
  EXPECT_TRUE(writeFile(folder + "\\dAtA\\List.HTM", "old"));
  EXPECT_TRUE(fileExists(folder + "\\DATA\\list.htm"));
  EXPECT_TRUE(writeFile(folder + "\\data\\LIST.htm", "new"));
  EXPECT_TRUE(appendFile(folder + "\\data\\list.HTM", "er"));
  EXPECT_EQ(readFile(folder + "\\data\\list.htm"), "newer");
  EXPECT_TRUE(std::filesystem::exists(native + "/Data/List.HTM"));
  EXPECT_TRUE(deleteFile(folder + "\\data\\list.htm"));
  EXPECT_FALSE(std::filesystem::exists(native + "/Data/List.HTM"));
}

TEST_F(FilesTest, LetterCaseKnowsTheLettersOfWindows1252) {
  EXPECT_TRUE(writeFile(folder + "\\\xC4\xD6\xDC\x8A\x9F.txt", "x"));
  EXPECT_TRUE(fileExists(folder + "\\\xE4\xF6\xFC\x9A\xFF.TXT"));
  EXPECT_TRUE(writeFile(folder + "\\a\xD7.txt", "x"));  // the multiplication sign has no other case
  EXPECT_FALSE(fileExists(folder + "\\a\xF7.txt"));
}

TEST_F(FilesTest, TheExactSpellingIsPreferred) {
  ASSERT_TRUE(writeFile(folder + "\\name.txt", "lower"));
  ASSERT_EQ(rename((native + "/name.txt").c_str(), (native + "/keep").c_str()), 0);
  ASSERT_TRUE(writeFile(folder + "\\NAME.TXT", "upper"));
  ASSERT_EQ(rename((native + "/keep").c_str(), (native + "/name.txt").c_str()), 0);
  EXPECT_EQ(readFile(folder + "\\name.txt"), "lower");
  EXPECT_EQ(readFile(folder + "\\NAME.TXT"), "upper");
}

TEST_F(FilesTest, APathWithANulNamesNothing) {
  EXPECT_TRUE(writeFile(folder + "\\a", "x"));
  const std::string path = folder + "\\a" + std::string(1, '\0') + "b";
  EXPECT_FALSE(fileExists(path));
  EXPECT_FALSE(writeFile(path, "y"));
  EXPECT_FALSE(deleteFile(path));
  EXPECT_EQ(readFile(folder + "\\a"), "x");
}

TEST_F(FilesTest, AppendingAddsAndCreates) {
  EXPECT_TRUE(appendFile(folder + "\\log", ""));
  EXPECT_EQ(readFile(folder + "\\log"), "");
  EXPECT_TRUE(appendFile(folder + "\\log", "one"));
  EXPECT_TRUE(appendFile(folder + "\\log", "two"));
  EXPECT_EQ(readFile(folder + "\\log"), "onetwo");
}

TEST_F(FilesTest, AReplacedFileKeepsItsModeAndANewOneIsPrivate) {
  EXPECT_TRUE(writeFile(folder + "\\a", "one"));
  struct stat status;
  ASSERT_EQ(stat((native + "/a").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0600u);
  ASSERT_EQ(chmod((native + "/a").c_str(), 0644), 0);
  EXPECT_TRUE(writeFile(folder + "\\a", "two"));
  ASSERT_EQ(stat((native + "/a").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0644u);
}

TEST_F(FilesTest, AReplacedFileIsANewFileUnderTheOldName) {
  // A reader that has the old one open, and a crash before the rename, see the old content whole.
  EXPECT_TRUE(writeFile(folder + "\\a", "old"));
  ASSERT_EQ(link((native + "/a").c_str(), (native + "/other").c_str()), 0);
  EXPECT_TRUE(writeFile(folder + "\\a", "new"));
  EXPECT_EQ(readFile(folder + "\\other"), "old");
  EXPECT_EQ(readFile(folder + "\\a"), "new");
}

TEST_F(FilesTest, ALinkStaysAndItsTargetIsReplaced) {
  EXPECT_TRUE(createFolder(folder + "\\elsewhere"));
  EXPECT_TRUE(writeFile(folder + "\\elsewhere\\target", "old"));
  ASSERT_EQ(symlink("elsewhere/target", (native + "/link").c_str()), 0);
  EXPECT_TRUE(writeFile(folder + "\\link", "new"));
  EXPECT_EQ(readFile(folder + "\\elsewhere\\target"), "new");
  EXPECT_TRUE(std::filesystem::is_symlink(native + "/link"));
}

TEST_F(FilesTest, AFullDiskLeavesTheOldFileAsItWas) {
  ASSERT_TRUE(writeFile(folder + "\\a", "old content"));
  {
    const FullDisk full(1000);
    EXPECT_FALSE(writeFile(folder + "\\a", std::string(1001, 'x')));
    EXPECT_FALSE(writeFile(folder + "\\b", std::string(1001, 'x')));
    EXPECT_TRUE(writeFile(folder + "\\c", std::string(1000, 'x')));
  }
  EXPECT_EQ(readFile(folder + "\\a"), "old content");
  EXPECT_THAT(namesOnDisk(), UnorderedElementsAre("a", "c"));
}

TEST_F(FilesTest, AnAppendThatDoesNotFitLeavesNothingBehind) {
  ASSERT_TRUE(writeFile(folder + "\\list", "first entry\r\n"));
  {
    const FullDisk full(20);
    EXPECT_FALSE(appendFile(folder + "\\list", "second entry\r\n"));
  }
  EXPECT_EQ(readFile(folder + "\\list"), "first entry\r\n");
}

TEST_F(FilesTest, WhatACrashLeftBehindIsInNoListAndIsUsedUp) {
  {
    const FullDisk full(0);
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

TEST_F(FilesTest, NamesOfFullLengthCanBeWritten) {
  const std::string name(255, 'n');
  EXPECT_TRUE(writeFile(folder + "\\" + name, "x"));
  EXPECT_THAT(namesOnDisk(), UnorderedElementsAre(name));
  EXPECT_FALSE(writeFile(folder + "\\" + name + "n", "x"));
  EXPECT_THAT(namesOnDisk(), UnorderedElementsAre(name));
}

TEST_F(FilesTest, AListingHasTheOrdinaryFilesOfTheEndingInAnyLetterCase) {
  for (const char* name : {"a.txt", "B.TXT", "c.txt.bak", "txt", ".txt"}) {
    ASSERT_TRUE(writeFile(folder + "\\" + name, "x"));
  }
  ASSERT_TRUE(createFolder(folder + "\\folder.txt"));
  EXPECT_THAT(listed(".txt"), UnorderedElementsAre("a.txt", "B.TXT", ".txt"));
  EXPECT_EQ(listed("").size(), 5u);
  EXPECT_THAT(listFolder(folder + "\\none", ".txt"), IsEmpty());
}

TEST_F(FilesTest, AListingTellsTheTimeOfTheLastChange) {
  ASSERT_TRUE(writeFile(folder + "\\a.txt", "x"));
  const timespec times[2] = {{1794707700, 250000000}, {1794707700, 250000000}};
  ASSERT_EQ(utimensat(AT_FDCWD, (native + "/a.txt").c_str(), times, 0), 0);
  const std::vector<FolderEntry> entries = listFolder(folder, ".txt");
  ASSERT_EQ(entries.size(), 1u);
  EXPECT_EQ(entries[0].modifiedMilliseconds, 1794707700250);
}

TEST_F(FilesTest, ANamedPipeBlocksNobody) {
  ASSERT_EQ(mkfifo((native + "/pipe").c_str(), 0600), 0);
  EXPECT_FALSE(fileExists(folder + "\\pipe"));
  EXPECT_EQ(readFile(folder + "\\pipe"), std::nullopt);
  EXPECT_FALSE(appendFile(folder + "\\pipe", "x"));
}

}  // namespace
}  // namespace vornelle
