#include "core/form1.h"

#include "base/module_state.h"

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

}  // namespace vornelle
