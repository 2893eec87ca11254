// The state of the whole program, module by module. Each module that keeps some says how it goes back to what
// it is in a process that has just begun:
//
//     const ModuleState inboxState([] { inbox = {}; });     // beside the variable, after it
//
// One call then resets all of it, so that a test need not know which modules it touches.
#pragma once

namespace vornelle {

class ModuleState {
 public:
  // `reset` runs at any time and in any order among the others: it uses its own module's variables alone.
  explicit ModuleState(void (*reset)());
};

// Puts the state of every module back to what it is in a process that has just begun. For tests.
void resetProgramState();

}  // namespace vornelle
