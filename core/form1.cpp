#include "core/form1.h"

#include <memory>

#include "base/module_state.h"
#include "core/event_log.h"
#include "core/settings.h"
#include "platform/download.h"
#include "platform/files.h"
#include "platform/modPopup.h"
#include "platform/shell.h"

namespace vornelle {

Form1 form1;

namespace {

// Timers cannot be copied, so the object is made anew in its place.
const ModuleState form1State([] {
  std::destroy_at(&form1);
  std::construct_at(&form1);
});

}  // namespace

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

void openUrl(const std::string& url, const std::string& path) {
  const std::string body = downloadUrl(url);
  // The old file goes first: a text that is out of date must not be shown when the new one cannot be written.
  if (fileExists(path)) static_cast<void>(deleteFile(path));
  static_cast<void>(writeFile(path, body));
}

}  // namespace vornelle
