#include "platform/files.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "tests/unit/platform/seam/files_support.h"

namespace vornelle {
namespace {

using testing::IsEmpty;
using testing::UnorderedElementsAre;

TEST_F(FilesTest, TheApplicationFolderIsThatOfTheProgramWithBackslashes) {
  EXPECT_EQ(native::toNative(applicationFolder()), native::programFolder());
  EXPECT_EQ(applicationFolder().find('/'), std::string::npos);
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

TEST_F(FilesTest, TheStartOfAFileComesWithTheLengthOfAll) {
  ASSERT_TRUE(writeFile(folder + "\\a", "0123456789"));
  for (const std::size_t most : {0U, 1U, 9U, 10U, 11U, 100'000U}) {
    const auto start = readFileStart(folder + "\\a", most);
    ASSERT_TRUE(start);
    EXPECT_EQ(start->text, std::string("0123456789").substr(0, most));
    EXPECT_EQ(start->length, 10u);
  }
  EXPECT_FALSE(readFileStart(folder + "\\none", 10));
  ASSERT_TRUE(createFolder(folder + "\\sub"));
  EXPECT_FALSE(readFileStart(folder + "\\sub", 10));
}

TEST_F(FilesTest, FilesThatAreFlushedTogetherAreToldOneByOne) {
  std::vector<std::string> paths;
  for (int n = 0; n < 40; ++n) {
    paths.push_back(folder + "\\mail" + std::to_string(n) + ".txt");
    ASSERT_TRUE(writeFileUnflushed(paths.back(), "content"));
    EXPECT_EQ(readFile(paths.back()), "content");
  }
  ASSERT_TRUE(deleteFile(paths[3]));
  paths.push_back(folder + "\\no\\such");
  // The second time it is known how quick the disk is.
  for (int time = 0; time < 2; ++time) {
    const std::vector<bool> flushed = flushFiles(paths);
    ASSERT_EQ(flushed.size(), paths.size());
    for (std::size_t n = 0; n < flushed.size(); ++n) EXPECT_EQ(flushed[n], n != 3 && n != 40) << n;
  }
  EXPECT_THAT(flushFiles({}), IsEmpty());
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
  EXPECT_TRUE(std::filesystem::exists(onDisk / "Data/List.HTM"));
  EXPECT_TRUE(deleteFile(folder + "\\data\\list.htm"));
  EXPECT_FALSE(std::filesystem::exists(onDisk / "Data/List.HTM"));
}

TEST_F(FilesTest, TheNameOnDiskIsTheOneThatTheFileWasMadeWith) {
  EXPECT_EQ(nameOnDisk(folder + "\\none"), std::nullopt);
  ASSERT_TRUE(writeFile(folder + "\\List.HTM", "x"));
  EXPECT_EQ(nameOnDisk(folder + "\\List.HTM"), "List.HTM");
  EXPECT_EQ(nameOnDisk(folder + "\\LIST.htm"), "List.HTM");
  EXPECT_EQ(nameOnDisk(folder + "\\*.htm"), std::nullopt);
  ASSERT_TRUE(createFolder(folder + "\\Sub"));
  EXPECT_EQ(nameOnDisk(folder + "\\SUB"), "Sub");
}

TEST_F(FilesTest, ChangesByOtherProgramsAreSeenAtOnce) {
  ASSERT_FALSE(fileExists(folder + "\\LIST.TXT"));
  for (int round = 0; round < 50; ++round) {
    std::ofstream(onDisk / "list.txt") << "x";
    EXPECT_EQ(nameOnDisk(folder + "\\LIST.TXT"), "list.txt");
    std::filesystem::rename(onDisk / "list.txt", onDisk / "other.txt");
    EXPECT_FALSE(fileExists(folder + "\\LIST.TXT"));
    EXPECT_TRUE(fileExists(folder + "\\OTHER.TXT"));
    std::filesystem::remove(onDisk / "other.txt");
    EXPECT_FALSE(fileExists(folder + "\\OTHER.TXT"));
  }
}

TEST_F(FilesTest, AFolderThatHasBeenReplacedIsNotTakenForTheOldOne) {
  ASSERT_TRUE(createFolder(folder + "\\sub"));
  ASSERT_TRUE(createFolder(folder + "\\other"));
  ASSERT_TRUE(writeFile(folder + "\\sub\\one.txt", "x"));
  ASSERT_TRUE(writeFile(folder + "\\other\\two.txt", "x"));
  EXPECT_TRUE(fileExists(folder + "\\sub\\ONE.TXT"));
  EXPECT_TRUE(fileExists(folder + "\\other\\TWO.TXT"));
  std::filesystem::rename(onDisk / "sub", onDisk / "away");
  std::filesystem::rename(onDisk / "other", onDisk / "sub");
  EXPECT_FALSE(fileExists(folder + "\\sub\\ONE.TXT"));
  EXPECT_TRUE(fileExists(folder + "\\sub\\TWO.TXT"));
  std::filesystem::remove_all(onDisk / "sub");
  ASSERT_TRUE(createFolder(folder + "\\sub"));
  EXPECT_FALSE(fileExists(folder + "\\sub\\TWO.TXT"));
  ASSERT_TRUE(writeFile(folder + "\\sub\\three.txt", "x"));
  EXPECT_TRUE(fileExists(folder + "\\sub\\THREE.TXT"));
}

TEST_F(FilesTest, LetterCaseKnowsTheLettersOfWindows1252) {
  EXPECT_TRUE(writeFile(folder + "\\\xC4\xD6\xDC\x8A\x9F.txt", "x"));
  EXPECT_TRUE(fileExists(folder + "\\\xE4\xF6\xFC\x9A\xFF.TXT"));
  EXPECT_TRUE(writeFile(folder + "\\a\xD7.txt", "x"));  // the multiplication sign has no other case
  EXPECT_FALSE(fileExists(folder + "\\a\xF7.txt"));
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

TEST_F(FilesTest, AReplacedFileIsANewFileUnderTheOldName) {
  // A reader that has the old one open, and a crash before the rename, see the old content whole.
  EXPECT_TRUE(writeFile(folder + "\\a", "old"));
  std::filesystem::create_hard_link(onDisk / "a", onDisk / "other");
  EXPECT_TRUE(writeFile(folder + "\\a", "new"));
  EXPECT_EQ(readFile(folder + "\\other"), "old");
  EXPECT_EQ(readFile(folder + "\\a"), "new");
}

TEST_F(FilesTest, AFullDiskLeavesTheOldFileAsItWas) {
  ASSERT_TRUE(writeFile(folder + "\\a", "old content"));
  {
    const native::FullDisk full;
    const std::size_t limit = native::FullDisk::limit();
    ASSERT_GT(limit, 0u) << "tests/run.mjs starts this program with a limit";
    EXPECT_FALSE(writeFile(folder + "\\a", std::string(limit + 1, 'x')));
    EXPECT_FALSE(writeFile(folder + "\\b", std::string(limit + 1, 'x')));
    EXPECT_TRUE(writeFile(folder + "\\c", std::string(limit, 'x')));
  }
  EXPECT_EQ(readFile(folder + "\\a"), "old content");
  EXPECT_THAT(namesOnDisk(), UnorderedElementsAre("a", "c"));
}

TEST_F(FilesTest, AFileThatCannotBeReplacedIsWrittenInPlace) {
  for (const std::string content : {"new", "new, and longer than the old content", ""}) {
    ASSERT_TRUE(writeFile(folder + "\\a", "old content"));
    std::error_code ignored;
    std::filesystem::remove(onDisk / "same", ignored);
    std::filesystem::create_hard_link(onDisk / "a", onDisk / "same");
    {
      const native::HeldFile held(onDisk / "a");
      EXPECT_TRUE(writeFile(folder + "\\a", content));
    }
    EXPECT_EQ(readFile(folder + "\\a"), content);
    EXPECT_EQ(readFile(folder + "\\same"), content) << "it is the same file";
    EXPECT_THAT(namesOnDisk(), UnorderedElementsAre("a", "same"));
  }
}

TEST_F(FilesTest, AFullDiskLeavesAFileThatCannotBeReplacedAsItWas) {
  ASSERT_TRUE(writeFile(folder + "\\a", "old content"));
  {
    const native::HeldFile held(onDisk / "a");
    const native::FullDisk full;
    EXPECT_FALSE(writeFile(folder + "\\a", std::string(native::FullDisk::limit() + 1, 'x')));
  }
  EXPECT_EQ(readFile(folder + "\\a"), "old content");
  EXPECT_THAT(namesOnDisk(), UnorderedElementsAre("a"));
}

TEST_F(FilesTest, AnAppendThatDoesNotFitLeavesNothingBehind) {
  const std::size_t limit = native::FullDisk::limit();
  ASSERT_GT(limit, 20u) << "tests/run.mjs starts this program with a limit";
  const std::string content(limit - 10, 'x');
  ASSERT_TRUE(writeFile(folder + "\\list", content));
  {
    const native::FullDisk full;
    EXPECT_FALSE(appendFile(folder + "\\list", "second entry\r\n"));
  }
  EXPECT_TRUE(readFile(folder + "\\list") == content);
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
  native::setModified(onDisk / "a.txt", 1794707700250);
  const std::vector<FolderEntry> entries = listFolder(folder, ".txt");
  ASSERT_EQ(entries.size(), 1u);
  EXPECT_EQ(entries[0].modifiedMilliseconds, 1794707700250);
}

}  // namespace
}  // namespace vornelle
