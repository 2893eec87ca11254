#include "platform/shell.h"

#include <gtest/gtest.h>

#include <string>

#include "native.h"
#include "platform/files.h"
#include "platform/modSpecialFolders.h"

namespace vornelle {
namespace {

TEST(WindowsShellTest, AFolderOfTheShellEndsInABackslashAndAnUnknownOneIsEmpty) {
  const std::string startup = getSpecialFolder(7);
  ASSERT_TRUE(startup.ends_with("\\")) << startup;
  EXPECT_TRUE(folderExists(startup.substr(0, startup.size() - 1))) << startup;
  EXPECT_EQ(getSpecialFolder(4711), "");
}

TEST(WindowsShellTest, AStartupLinkIsMadeReplacedAndFoundByItsName) {
  const std::string link = getSpecialFolder(7) + "seam test.lnk";
  ASSERT_TRUE(createStartupLink("Seam test", applicationFolder() + "\\vornelle.exe"));
  EXPECT_TRUE(fileExists(link));
  EXPECT_TRUE(createStartupLink("Seam test", applicationFolder() + "\\other.exe"));
  EXPECT_GT(fileLength(link).value_or(0), 0u);
  EXPECT_TRUE(deleteFile(link));
  EXPECT_FALSE(fileExists(link));
}

TEST(WindowsShellTest, TheFirstCopyIsTheRunningOneAndStaysIt) {
  EXPECT_FALSE(previousInstanceRunning());
  EXPECT_FALSE(previousInstanceRunning()) << "its own mark is no other copy";
}

}  // namespace
}  // namespace vornelle
