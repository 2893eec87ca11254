#include "desktop/dlgConfig.h"

#include <memory>
#include <optional>

#include "base/numbers.h"
#include "core/activity.h"
#include "core/settings.h"
#include "mail/mail_component.h"
#include "mail/server_notes.h"
#include "platform/shell.h"
#include "platform/wait_cursor.h"

namespace vornelle {
namespace {

bool reportFailure(const char* text) {
  beep();
  messageBox(text);
  return false;
}

// A log-on, which blocks the window for as long as the server takes. Pages that are asked for meanwhile say
// what it is; while a message box is open there is nothing under way.
bool blocking(bool (MailComponent::*logOn)()) {
  const WaitCursor hourglass;
  const Activity activity(Task::settingsTest);
  return currentMail && (currentMail.get()->*logOn)();
}

// True when no test failed. A mail task that runs while one of the boxes is open takes the slot over; the
// tests then find no component and fail.
bool testConnections() {
  lastMailFailures = {};  // a server that is not tried any more has no failure either
  newMailComponent();
  messageBox("Vornelle will now attempt to connect to servers.\nThis may take a few seconds.");
  bool passed = true;
  if (!settings.POP_SERVER.empty() && !blocking(&MailComponent::popConnect)) {
    passed = reportFailure("Cannot log onto POP3 Server!");
  }
  if (!settings.SMTP_SERVER.empty() && !blocking(&MailComponent::smtpLogin)) {
    passed = reportFailure("Cannot log onto SMTP Server!");
  }
  currentMail.reset();
  logLastTlsFailures();
  return passed;
}

}  // namespace

std::string dlgConfigBoxName(const Setting& setting) {
  return (setting.isCheckBox() ? "ck" : "txt") + std::string(setting.key);
}

DlgConfig dlgConfigLoad() {
  DlgConfig boxes;
  for (const Setting* setting : settingsInDialog()) {
    DlgConfigBox& box = boxes[dlgConfigBoxName(*setting)];
    if (setting->isCheckBox()) {
      box.checked = isOn(*setting);
    } else {
      box.text = shownText(*setting);
    }
  }
  return boxes;
}

std::string dlgConfigNotes() {
  return serverNotesText();
}

DlgConfigResult SaveButtonClick(const DlgConfig& boxes) {
  // All are looked at first, so that a refused box stores nothing at all.
  for (const Setting* setting : settingsInDialog()) {
    const std::string name = dlgConfigBoxName(*setting);
    if (const std::optional<std::string> refusal = refusalOf(*setting, boxes.at(name).text)) {
      messageBox(*refusal);
      return {false, name};
    }
  }
  for (const Setting* setting : settingsInDialog()) {
    const DlgConfigBox& box = boxes.at(dlgConfigBoxName(*setting));
    if (setting->isCheckBox()) {
      setFlag(*setting, box.checked);
    } else {
      takeTyped(*setting, box.text);
    }
  }
  // The running listener stays where it is.
  settings.httpPort = toInt32(settings.HTTP_PORT_CFG).value_or(settings.httpPort);
  configSave();

  const bool passed = testConnections();
  messageBox("Settings updated");
  return {passed, ""};
}

}  // namespace vornelle
