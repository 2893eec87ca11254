// What the tests of files on a real disk have in common.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "native.h"
#include "platform/files.h"

namespace vornelle {

// Each test has a folder of its own.
class FilesTest : public testing::Test {
 protected:
  FilesTest() : folder(native::makeFolder()), onDisk(native::toNative(folder)) { EXPECT_NE(folder, ""); }
  ~FilesTest() override {
    std::error_code ignored;
    if (!folder.empty()) std::filesystem::remove_all(onDisk, ignored);
  }

  [[nodiscard]] std::vector<std::string> namesOnDisk() const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(onDisk))
      names.push_back(native::fileName(entry.path()));
    return names;
  }

  [[nodiscard]] std::vector<std::string> listed(std::string_view ending) const {
    std::vector<std::string> names;
    for (const FolderEntry& entry : listFolder(folder, ending)) names.push_back(entry.name);
    return names;
  }

  std::string folder;            // as the seam names it
  std::filesystem::path onDisk;  // as the system does
};

}  // namespace vornelle
