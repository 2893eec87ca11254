// What the tests on the simulated platform have in common.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "base/module_state.h"
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
};

}  // namespace vornelle
