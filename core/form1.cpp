#include "core/form1.h"

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

void resetTimer(Timer& timer, int interval, bool enabled) {
  timer.onTick = nullptr;
  timer.setEnabled(false);  // so that a new period starts in any case
  timer.setInterval(interval);
  timer.setEnabled(enabled);
}

void resetForm1() {
  // Whole objects are replaced, so that no handler of an earlier test runs.
  for (CheckBox* box : {&form1.ckActive, &form1.ckTestMode, &form1.ckStartMinimized, &form1.ckAutostart}) {
    *box = CheckBox{};
  }
  form1.LogWindow = TextBox{};
  resetTimer(form1.Timer1, 1000, true);
  resetTimer(form1.Timer2, 1000, true);
  resetTimer(form1.Timer_min, 60000, true);
  resetTimer(form1.TimerWS_Timeout, 30000, false);

  form1.caption = "Vornelle";
  form1.windowState = WindowState::normal;
  form1.visible = false;
  form1.onWindowChange = nullptr;
  form1.onRaise = nullptr;

  form1.isClosingDuplicate = false;
  form1.closingLines = 0;
  form1.settingsUnread = false;
  form1.minutesSinceCheck = 0;
  form1.sessionId.clear();
  form1.sessionMinutesUsed = 0;
  form1.suppressTitleMinutes = false;
  static_cast<Request&>(form1) = Request{};
  form1.wsTimedOut = false;
  form1.rowKey.assign(kLastRow + 1, "");
  form1.rowSender.assign(kLastRow + 1, "");
}

const ModuleState form1State(resetForm1);

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
