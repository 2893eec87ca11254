#include "core/earlier_log_in.h"

#include "base/module_state.h"
#include "core/settings.h"

namespace vornelle {

std::optional<LogIn> earlierLogIn;
static const ModuleState earlierLogInState([] { earlierLogIn.reset(); });

LogIn currentLogIn() {
  return {settings.POP_ACCOUNT, settings.POP_PASSWORD};
}

void noteLogInUpdate(const LogIn& before, bool taken) {
  if (taken || earlierLogIn == currentLogIn()) {
    earlierLogIn.reset();
  } else if (!earlierLogIn && before != currentLogIn() && !before.password.empty()) {
    earlierLogIn = before;
  }
}

}  // namespace vornelle
