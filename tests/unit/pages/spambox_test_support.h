// A SpamBox folder for tests, with saved messages of chosen ages.
#pragma once

#include <chrono>
#include <filesystem>
#include <string>

#include "pages/Spambox.h"
#include "tests/unit/pages/pages_test_support.h"

namespace vornelle {

class SpamBoxTest : public PageTest {
 protected:
  SpamBoxTest() { EXPECT_TRUE(createFolder(inFolder("\\spam"))); }

  // The system's own path of a file below the application folder.
  static std::string native(std::string_view path) { return replaceAll(inFolder(path), "\\", "/"); }

  // Saves a message under the key; the larger `age`, the later it was saved.
  static void save(const std::string& key, std::string_view from, std::string_view subject, int age,
                   std::size_t bodySize = 10) {
    std::string text;
    if (!from.empty()) text.append("From: ").append(from).append("\r\n");
    if (!subject.empty()) text.append("Subject: ").append(subject).append("\r\n");
    text += "Date: Sun, 15 Nov 2026 13:05:00 +0000\r\n\r\n" + std::string(bodySize, 'x') + "\r\n";
    makeFile("\\spam\\" + key + ".txt", text);
    std::filesystem::last_write_time(
        native("\\spam\\" + key + ".txt"),
        std::filesystem::file_time_type::clock::now() + std::chrono::seconds(age));
  }

  // That many files, as hard links to one: making 10,000 files of their own takes a disk seconds.
  static void fillFolder(int count) {
    makeFile("\\data\\one", "x");
    for (int i = 0; i < count; i++) {
      std::filesystem::create_hard_link(native("\\data\\one"),
                                        native("\\spam\\L" + std::to_string(i) + ".txt"));
    }
  }
};

}  // namespace vornelle
