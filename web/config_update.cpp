#include "web/config_update.h"

#include <memory>
#include <optional>

#include "base/text.h"
#include "core/activity.h"
#include "core/earlier_log_in.h"
#include "core/event_log.h"
#include "core/form1.h"
#include "core/settings_table.h"
#include "mail/mail_component.h"
#include "mail/server_address.h"
#include "mail/server_notes.h"
#include "mail/tls_certificates.h"
#include "platform/shell.h"
#include "web/request.h"
#include "web/session.h"

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
  lastMailFailures = {};  // a server that is not tried any more has no failure either
  newMailComponent();
  std::string alerts, reasons;
  if (!settings.POP_SERVER.empty() && !currentMail->popConnect()) {
    beep();
    alerts = "alert('Cannot log onto POP3 Server!');";
    reasons = failureText(lastMailFailures.pop);
    outcomes.failure = outcome(false, reasons);
  }
  if (!settings.SMTP_SERVER.empty() && !currentMail->smtpLogin()) {
    beep();
    alerts += "alert('Cannot log onto SMTP Server!');";
    reasons += (reasons.empty() ? "" : " ") + failureText(lastMailFailures.smtp);
  }
  currentMail.reset();
  outcomes.settingsTest = reasons.empty()
                              ? outcome(true, "Saved. The mail servers that are entered can be logged onto.")
                              : outcome(false, "Saved. " + reasons);
  logLastTlsFailures();
  return alerts;
}

std::string backToSettings(const std::string& alerts) {
  return locationScript("config.htm", alerts);
}

}  // namespace

std::string configUpdate() {
  const LogIn before = currentLogIn();
  for (const Setting* setting : settingsOnPage()) takePosted(*setting);
  configSave();
  const std::string alerts = testConnections();
  noteLogInUpdate(before, !settings.POP_SERVER.empty() && !lastMailFailures.pop);
  return backToSettings(alerts);
}

std::string putEarlierLogInBack() {
  if (!form1.requestText.starts_with("POST ") || !earlierLogIn) return backToSettings("");
  settings.POP_ACCOUNT = earlierLogIn->account;
  settings.POP_PASSWORD = earlierLogIn->password;
  earlierLogIn.reset();
  LogWindowAdd("Earlier account name and password put back");
  configSave();
  return backToSettings(testConnections());
}

std::string acceptCertificatePosted() {
  const std::string server = requestParam("SERVER").value_or("");
  const std::string fingerprint = requestParam("FINGERPRINT").value_or("");
  const MailFailure* const refused =
      refusedCertificate(server == "SMTP" ? MailProtocol::smtp : MailProtocol::pop3);
  // What is accepted is what was refused, not what a request says; the request says which of it was shown.
  const bool shown = form1.requestText.starts_with("POST ") && refused && refused->fingerprint == fingerprint;
  if (!shown) return backToSettings("");
  const std::string place = hostAndPort(refused->host, refused->port);
  if (!acceptCertificate(refused->host, refused->port, fingerprint)) {
    LogWindowAdd("**Problem writing tls-certificates.txt: certificate of " + place + " not accepted");
    return backToSettings("");
  }
  LogWindowAdd("Certificate of " + place + " accepted, SHA-256 " + shownFingerprint(fingerprint));
  return backToSettings(testConnections());
}

}  // namespace vornelle
