#include "desktop/dlgConfig.h"

#include <memory>

#include "base/numbers.h"
#include "core/settings.h"
#include "mail/mail_component.h"
#include "platform/shell.h"
#include "platform/wait_cursor.h"

namespace vornelle {
namespace {

bool holdsAsterisk(const std::string& text) {
  return text.find('*') != std::string::npos;
}

bool reportFailure(const char* text) {
  beep();
  messageBox(text);
  return false;
}

// A log-on, which blocks the window for as long as the server takes.
bool blocking(bool (MailComponent::*logOn)()) {
  const WaitCursor hourglass;
  return currentMail && (currentMail.get()->*logOn)();
}

// True when no test failed. A mail task that runs while one of the boxes is open takes the slot over; the
// tests then find no component and fail.
bool testConnections() {
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
  return passed;
}

}  // namespace

DlgConfig dlgConfigLoad() {
  DlgConfig boxes;
  boxes.ckNEW_WINDOW = settings.NEW_WINDOW;
  boxes.txtHTTP_PORT_CFG = settings.HTTP_PORT_CFG;
  boxes.txtCHECK_MIN = std::to_string(settings.CHECK_MIN);
  boxes.txtSESSION_MIN = std::to_string(settings.SESSION_MIN);
  boxes.txtEMAIL_ADDRESS = settings.EMAIL_ADDRESS;
  boxes.txtPOP_SERVER = settings.POP_SERVER;
  boxes.txtPOP_ACCOUNT = settings.POP_ACCOUNT;
  boxes.txtPOP_PASSWORD = passwordMask(settings.POP_PASSWORD);
  boxes.txtSMTP_SERVER = settings.SMTP_SERVER;
  boxes.txtSMTP_USER = settings.SMTP_USER;
  boxes.txtSMTP_PASSWORD = passwordMask(settings.SMTP_PASSWORD);
  boxes.txtMAX_SPAM_SIZE = std::to_string(settings.MAX_SPAM_SIZE);
  boxes.txtMAX_LINK_SIZE = std::to_string(settings.MAX_LINK_SIZE);
  boxes.txtMESSAGES_PER_PAGE = std::to_string(settings.MESSAGES_PER_PAGE);
  boxes.ckMAX_LINK_SIZE_ON = settings.MAX_LINK_SIZE_ON;
  return boxes;
}

DlgConfigResult SaveButtonClick(const DlgConfig& boxes) {
  // Both conversions come first, so that a refused box stores nothing at all.
  const std::optional<std::int32_t> port = toInt32(boxes.txtHTTP_PORT_CFG);
  if (!port) {
    messageBox("HTTP Port takes a whole number, for example 7000.");
    return {false, &DlgConfig::txtHTTP_PORT_CFG};
  }
  const std::optional<std::int16_t> messagesPerPage = toInt16(boxes.txtMESSAGES_PER_PAGE);
  if (!messagesPerPage) {
    messageBox("Messages Per Page takes a whole number up to 32767, for example 15.");
    return {false, &DlgConfig::txtMESSAGES_PER_PAGE};
  }

  settings.NEW_WINDOW = boxes.ckNEW_WINDOW;
  settings.HTTP_PORT_CFG = boxes.txtHTTP_PORT_CFG;
  settings.httpPort = *port;  // the running listener stays where it is
  settings.CHECK_MIN = configCkCHECK_MIN(boxes.txtCHECK_MIN);
  settings.SESSION_MIN = configCkSESSION_MIN(boxes.txtSESSION_MIN);
  settings.EMAIL_ADDRESS = boxes.txtEMAIL_ADDRESS;
  settings.POP_SERVER = boxes.txtPOP_SERVER;
  settings.POP_ACCOUNT = boxes.txtPOP_ACCOUNT;
  if (!holdsAsterisk(boxes.txtPOP_PASSWORD)) settings.POP_PASSWORD = boxes.txtPOP_PASSWORD;
  settings.SMTP_SERVER = boxes.txtSMTP_SERVER;
  settings.SMTP_USER = boxes.txtSMTP_USER;
  if (!holdsAsterisk(boxes.txtSMTP_PASSWORD)) settings.SMTP_PASSWORD = boxes.txtSMTP_PASSWORD;
  settings.MAX_SPAM_SIZE = configCkMAX_SPAM_SIZE(boxes.txtMAX_SPAM_SIZE);
  settings.MAX_LINK_SIZE = configCkMAX_LINK_SIZE(boxes.txtMAX_LINK_SIZE);
  settings.MAX_LINK_SIZE_ON = boxes.ckMAX_LINK_SIZE_ON;
  settings.MESSAGES_PER_PAGE = *messagesPerPage;
  configSave();

  const bool passed = testConnections();
  messageBox("Settings updated");
  return {passed, nullptr};
}

}  // namespace vornelle
