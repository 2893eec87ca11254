#include "platform/files.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <fstream>
#include <string>
#include <thread>

#include "tests/unit/platform/seam/files_support.h"

namespace vornelle {
namespace {

using testing::IsEmpty;
using testing::UnorderedElementsAre;

using WindowsFilesTest = FilesTest;

// Opened by another program that lets nobody else in: a virus scanner, an indexer, a backup.
class Held {
 public:
  explicit Held(const std::filesystem::path& path, DWORD share = 0)
      : handle_(CreateFileW(path.c_str(), GENERIC_READ, share, nullptr, OPEN_EXISTING, 0, nullptr)) {
    EXPECT_NE(handle_, INVALID_HANDLE_VALUE);
  }
  ~Held() { letGo(); }
  Held(const Held&) = delete;
  Held& operator=(const Held&) = delete;

  void letGo() {
    if (handle_ != INVALID_HANDLE_VALUE) CloseHandle(handle_);
    handle_ = INVALID_HANDLE_VALUE;
  }
  // Lets go while the test goes on.
  [[nodiscard]] std::jthread letGoSoon() {
    return std::jthread([this] {
      std::this_thread::sleep_for(std::chrono::milliseconds(50));
      letGo();
    });
  }

 private:
  HANDLE handle_;
};

TEST_F(WindowsFilesTest, AFileThatIsHeldForAMomentIsReadWrittenExtendedAndDeleted) {
  const std::string path = folder + "\\list.txt";
  ASSERT_TRUE(writeFile(path, "old"));
  {
    Held held(onDisk / "list.txt");
    const std::jthread soon = held.letGoSoon();
    EXPECT_EQ(readFile(path), "old");
  }
  {
    Held held(onDisk / "list.txt");
    const std::jthread soon = held.letGoSoon();
    EXPECT_TRUE(writeFile(path, "new"));
  }
  {
    Held held(onDisk / "list.txt");
    const std::jthread soon = held.letGoSoon();
    EXPECT_TRUE(appendFile(path, "er"));
  }
  EXPECT_EQ(readFile(path), "newer");
  {
    Held held(onDisk / "list.txt");
    const std::jthread soon = held.letGoSoon();
    EXPECT_TRUE(deleteFile(path));
  }
  EXPECT_FALSE(fileExists(path));
}

TEST_F(WindowsFilesTest, AFileThatStaysHeldFailsSoonAndIsLeftAsItWas) {
  const std::string path = folder + "\\list.txt";
  ASSERT_TRUE(writeFile(path, "old"));
  {
    const Held held(onDisk / "list.txt");
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(readFile(path), std::nullopt);
    EXPECT_FALSE(writeFile(path, "new"));
    EXPECT_FALSE(appendFile(path, "er"));
    EXPECT_FALSE(deleteFile(path));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(3));
  }
  EXPECT_EQ(readFile(path), "old");
  EXPECT_THAT(namesOnDisk(), UnorderedElementsAre("list.txt"));
}

TEST_F(WindowsFilesTest, AReaderThatSharesItsFileHindersNobody) {
  const std::string path = folder + "\\list.txt";
  ASSERT_TRUE(writeFile(path, "old"));
  const Held held(onDisk / "list.txt", FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE);
  EXPECT_TRUE(appendFile(path, "er"));
  EXPECT_EQ(readFile(path), "older");
}

TEST_F(WindowsFilesTest, PathsOfAnyLengthWork) {
  std::string path = folder;
  for (int i = 0; i < 5; ++i) {
    path += "\\" + std::string(100, static_cast<char>('a' + i));
    ASSERT_TRUE(createFolder(path)) << path.size();
  }
  EXPECT_GT(path.size(), 500u);
  EXPECT_TRUE(folderExists(path));
  EXPECT_TRUE(writeFile(path + "\\mail.txt", "one"));
  EXPECT_TRUE(appendFile(path + "/mail.txt", "two"));
  EXPECT_EQ(readFile(path + "\\MAIL.TXT"), "onetwo");
  EXPECT_EQ(fileLength(path + "\\mail.txt"), 6u);
  EXPECT_EQ(listFolder(path, ".txt").size(), 1u);
  EXPECT_TRUE(deleteFile(path + "\\mail.txt"));
  EXPECT_THAT(listFolder(path, ""), IsEmpty());
}

TEST_F(WindowsFilesTest, DotsInAPathLeadWhereTheyAlwaysDo) {
  ASSERT_TRUE(createFolder(folder + "\\sub"));
  EXPECT_TRUE(writeFile(folder + "\\sub\\..\\a.txt", "x"));
  EXPECT_THAT(namesOnDisk(), UnorderedElementsAre("sub", "a.txt"));
  const std::string length(250, 'n');
  ASSERT_TRUE(createFolder(folder + "\\" + length));
  EXPECT_EQ(readFile(folder + "\\" + length + "\\..\\a.txt"), "x");
}

TEST_F(WindowsFilesTest, DevicesAndStreamsAreNoFiles) {
  for (const char* name : {"NUL", "\\\\.\\NUL", "CON", "COM1"}) {
    EXPECT_FALSE(fileExists(name)) << name;
    EXPECT_FALSE(writeFile(name, "x")) << name;
    EXPECT_FALSE(appendFile(name, "x")) << name;
    EXPECT_EQ(readFile(name), std::nullopt) << name;
    EXPECT_EQ(fileLength(name), std::nullopt) << name;
  }
  ASSERT_TRUE(writeFile(folder + "\\a.txt", "x"));
  EXPECT_FALSE(writeFile(folder + "\\a.txt:stream", "y"));
  EXPECT_FALSE(appendFile(folder + "\\a.txt:stream", "y"));
  EXPECT_FALSE(fileExists(folder + "\\a.txt::$DATA"));
  EXPECT_FALSE(writeFile(folder + "\\question?.txt", "y"));
  EXPECT_THAT(namesOnDisk(), UnorderedElementsAre("a.txt"));
}

TEST_F(WindowsFilesTest, WhatACrashLeftBehindIsInNoList) {
  std::ofstream(onDisk / ".vornelle-0123456789abcdef.tmp") << "half a me";
  ASSERT_TRUE(writeFile(folder + "\\mail.txt", "x"));
  EXPECT_THAT(listed(""), UnorderedElementsAre("mail.txt"));
}

TEST_F(WindowsFilesTest, NamesOutsideTheProgramsTextAreInNoList) {
  std::ofstream(onDisk / L"\u65E5\u672C.txt") << "x";
  ASSERT_TRUE(writeFile(folder + "\\\xFCml\xE4ut \x80.txt", "x"));
  EXPECT_TRUE(std::filesystem::exists(onDisk / L"\u00FCml\u00E4ut \u20AC.txt"));
  EXPECT_THAT(listed(".txt"), UnorderedElementsAre("\xFCml\xE4ut \x80.txt"));
}

TEST_F(WindowsFilesTest, AnEndingIsThatOfTheLongName) {
  std::ofstream(onDisk / "mail.txtold") << "x";  // its short name ends in ".TXT"
  EXPECT_THAT(listed(".txt"), IsEmpty());
}

// Runs a program to its end; its exit status.
DWORD runToItsEnd(const std::filesystem::path& program, const std::wstring& arguments) {
  STARTUPINFOW start{};
  start.cb = sizeof start;
  PROCESS_INFORMATION process{};
  std::wstring line = L"\"" + program.wstring() + L"\" " + arguments;
  if (!CreateProcessW(program.c_str(), line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &start,
                      &process))
    return 99;
  WaitForSingleObject(process.hProcess, 60000);
  DWORD status = 98;
  GetExitCodeProcess(process.hProcess, &status);
  CloseHandle(process.hThread);
  CloseHandle(process.hProcess);
  return status;
}

// This program again, in a folder that Windows-1252 cannot name: a user's own folder may be such a one.
TEST_F(WindowsFilesTest, AnApplicationFolderOutsideTheProgramsTextWorks) {
  const bool there = native::programFolder().filename() == L"\u540D\u524D";
  if (!there) {
    wchar_t program[MAX_PATH] = {};
    GetModuleFileNameW(nullptr, program, MAX_PATH);
    const std::filesystem::path copied = onDisk / L"\u540D\u524D" / "test.exe";
    std::filesystem::create_directory(copied.parent_path());
    ASSERT_TRUE(CopyFileW(program, copied.c_str(), TRUE));
    EXPECT_EQ(runToItsEnd(copied, L"--gtest_brief=1 --gtest_filter=*AnApplicationFolderOutside*"), 0u);
    EXPECT_TRUE(std::filesystem::exists(copied.parent_path() / "data" / "list.txt"))
        << "the copy has run there";
    return;
  }
  const std::string data = applicationFolder() + "\\data";
  ASSERT_TRUE(createFolder(data));
  EXPECT_TRUE(folderExists(data));
  EXPECT_TRUE(writeFile(data + "\\list.txt", "one"));
  EXPECT_TRUE(appendFile(data + "\\list.txt", "two"));
  EXPECT_EQ(readFile(data + "\\LIST.TXT"), "onetwo");
  EXPECT_EQ(listFolder(data, ".txt").size(), 1u);
}

}  // namespace
}  // namespace vornelle
