// What the tests on the simulated platform have in common.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "base/module_state.h"
#include "base/text.h"
#include "core/form1.h"
#include "platform/files.h"
#include "platform/sim/sim.h"

namespace vornelle {

// Each test starts in a process that has just begun, in a world of its own.
class SimTest : public testing::Test {
 protected:
  SimTest() {
    sim::reset();
    resetProgramState();
  }

  // A path below the application folder: inFolder("\\data\\top.inc").
  static std::string inFolder(std::string_view path) { return applicationFolder().append(path); }

  // Makes a file below the application folder.
  static void makeFile(std::string_view path, std::string_view content) {
    ASSERT_TRUE(writeFile(inFolder(path), content)) << path;
  }

  // Its whole content; "(missing)" where there is none.
  static std::string contentOf(std::string_view path) {
    return readFile(inFolder(path)).value_or("(missing)");
  }

  // The lines of the log box without their time stamps.
  static std::vector<std::string> logLines() {
    std::vector<std::string> lines = splitLines(form1.LogWindow.text());
    for (std::string& line : lines) line.erase(0, std::min(line.size(), line.find("] ") + 2));
    return lines;
  }
};

}  // namespace vornelle
