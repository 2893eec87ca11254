#include "mail/schedule.h"

#include "core/event_log.h"
#include "core/form1.h"
#include "core/settings.h"
#include "mail/filter_run.h"

namespace vornelle {

void ckActiveClick() {
  LogWindowAdd(form1.ckActive.checked() ? "Automatic mail filtering on" : "Automatic mail filtering off");
}

void ckTestModeClick() {
  LogWindowAdd(form1.ckTestMode.checked() ? "Test mode on. Spam will not be removed from InBox."
                                          : "Test mode off");
}

void cmdFilterMailClick() {
  LogWindowAdd("Filter mail (user request)");
  mailFilter();
}

void Timer1_Timer() {
  if (form1.minutesSinceCheck < settings.CHECK_MIN) return;
  form1.minutesSinceCheck = 0;
  mailFilter();
}

void Timer_min_Timer() {
  if (form1.ckActive.checked()) ++form1.minutesSinceCheck;
  ++form1.sessionMinutesUsed;
}

}  // namespace vornelle
