#include "base/module_state.h"

#include <gtest/gtest.h>

namespace vornelle {
namespace {

int counter = 0;
const ModuleState counterState([] { counter = 0; });

bool asked = false;
const ModuleState askedState([] { asked = false; });

TEST(ModuleState, OneCallResetsEveryModule) {
  counter = 7;
  asked = true;
  resetProgramState();
  EXPECT_EQ(counter, 0);
  EXPECT_FALSE(asked);
}

}  // namespace
}  // namespace vornelle
