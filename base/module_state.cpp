#include "base/module_state.h"

#include <vector>

namespace vornelle {
namespace {

// Made on first use: modules register while the program's other static objects are being made.
std::vector<void (*)()>& resets() {
  static std::vector<void (*)()> instance;
  return instance;
}

}  // namespace

ModuleState::ModuleState(void (*reset)()) {
  resets().push_back(reset);
}

void resetProgramState() {
  for (void (*const reset)() : resets()) reset();
}

}  // namespace vornelle
