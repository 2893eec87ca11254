#include "core/shutdown.h"

#include "core/event_log.h"
#include "core/form1.h"
#include "core/settings.h"
#include "platform/shell.h"

namespace vornelle {

void Form1_Unload() {
  LogWindowAdd("***Closing Vornelle***");
  LogWindowAdd("************************");
  static_cast<void>(notifyIconDelete());  // there may be none
  if (!form1.isClosingDuplicate && !form1.settingsUnread) configSave();
  endProcess();
}

}  // namespace vornelle
