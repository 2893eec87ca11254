#include "web/config_update.h"

#include <memory>
#include <optional>

#include "base/text.h"
#include "core/activity.h"
#include "core/form1.h"
#include "core/settings_table.h"
#include "mail/mail_component.h"
#include "platform/shell.h"
#include "web/request.h"

namespace vornelle {
namespace {

// Browsers post no field for a box that is not checked, so its absence is the answer.
bool isPosted(const Setting& setting) {
  const char* const value = setting.box ? "=1" : "=TRUE";
  return containsNoCase(form1.requestText, std::string(setting.field) + value);
}

void takePosted(const Setting& setting) {
  if (setting.box) {
    (form1.*setting.box).setChecked(isPosted(setting));
  } else if (setting.isCheckBox()) {
    setFlag(setting, isPosted(setting));
  } else if (const std::optional<std::string> value = requestParam(setting.field); value && !value->empty()) {
    takeTyped(setting, *value);  // a field left empty keeps its setting
  }
}

std::string testConnections() {
  const Activity activity(Task::settingsTest);
  newMailComponent();
  std::string alerts, reasons;
  if (!settings.POP_SERVER.empty() && !currentMail->popConnect()) {
    beep();
    alerts = "alert('Cannot log onto POP3 Server!');";
    reasons = failureText(lastMailFailures.pop);
  }
  if (!settings.SMTP_SERVER.empty() && !currentMail->smtpLogin()) {
    beep();
    alerts += "alert('Cannot log onto SMTP Server!');";
    reasons += (reasons.empty() ? "" : " ") + failureText(lastMailFailures.smtp);
  }
  currentMail.reset();
  outcomes.settingsTest =
      reasons.empty() ? outcome(true, "Saved. The mail servers that are entered can be logged onto.")
                      : outcome(false, "Saved. " + reasons);
  if (!reasons.empty()) outcomes.failure = outcome(false, reasons);
  return alerts;
}

}  // namespace

std::string configUpdate() {
  for (const Setting* setting : settingsOnPage()) takePosted(*setting);
  configSave();
  const std::string alerts = testConnections();
  return "<script language='Javascript'>" + alerts + "window.location='config.htm?s=" + form1.sessionId +
         "'</script>";
}

}  // namespace vornelle
