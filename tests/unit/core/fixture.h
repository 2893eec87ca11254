// A fresh simulated world and a program that has just started.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "core/form1.h"
#include "platform/files.h"
#include "platform/sim/sim.h"

namespace vornelle {

class FreshProgram : public testing::Test {
 protected:
  FreshProgram() {
    sim::reset();
    resetProgramState();
  }
  ~FreshProgram() override { resetProgramState(); }  // no handler of this test outlives it

  static std::string pathOf(std::string_view name) { return applicationFolder() + "\\" + std::string(name); }
  static std::string contentOf(std::string_view name) { return readFile(pathOf(name)).value_or("(no file)"); }
  static void put(std::string_view name, std::string_view content) {
    ASSERT_TRUE(writeFile(pathOf(name), content));
  }
};

}  // namespace vornelle
