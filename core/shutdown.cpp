#include "core/shutdown.h"

#include "core/event_log.h"
#include "core/form1.h"
#include "core/settings.h"
#include "platform/modPopup.h"
#include "platform/shell.h"

namespace vornelle {

void Form1_Unload() {
  // Logging lets events in, a second request to end among them. It goes on where this one stands.
  constexpr const char* kLines[] = {"***Closing Vornelle***", "************************"};
  while (form1.closingLines < 2) {
    LogWindowAdd(kLines[form1.closingLines]);
    ++form1.closingLines;
  }
  static_cast<void>(notifyIconDelete());  // there may be none
  if (!form1.isClosingDuplicate && !form1.settingsUnread) configSave();
  endProcess();
}

}  // namespace vornelle
