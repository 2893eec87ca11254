#include "web/config_update.h"

#include <memory>
#include <optional>

#include "base/numbers.h"
#include "base/text.h"
#include "core/form1.h"
#include "core/settings.h"
#include "mail/mail_component.h"
#include "platform/shell.h"
#include "web/request.h"

namespace vornelle {
namespace {

bool posted(std::string_view text) {
  return containsNoCase(form1.requestText, text);
}

// The value to store; nullopt when there is none or it is empty, and the setting keeps what it has.
std::optional<std::string> postedValue(std::string_view key) {
  std::optional<std::string> value = requestParam(key);
  if (value && value->empty()) value.reset();
  return value;
}

void takeText(std::string_view key, std::string& setting) {
  if (const auto value = postedValue(key)) setting = *value;
}

void takePassword(std::string_view key, std::string& setting) {
  const auto value = postedValue(key);
  if (value && value->find('*') == std::string::npos) setting = *value;
}

void takeNumber(std::string_view key, std::int16_t& setting, std::int16_t (*check)(std::string_view)) {
  if (const auto value = postedValue(key)) setting = check(*value);
}

void takePostedSettings() {
  takeText("HTTP_PORT_CFG", settings.HTTP_PORT_CFG);
  takeNumber("CHECK_MIN", settings.CHECK_MIN, configCkCHECK_MIN);
  takeNumber("SESSION_MIN", settings.SESSION_MIN, configCkSESSION_MIN);
  takeText("EMAIL_ADDRESS", settings.EMAIL_ADDRESS);
  takeText("POP_SERVER", settings.POP_SERVER);
  takeText("POP_ACCOUNT", settings.POP_ACCOUNT);
  takePassword("POP_PASSWORD", settings.POP_PASSWORD);
  takeText("SMTP_SERVER", settings.SMTP_SERVER);
  takeText("SMTP_USER", settings.SMTP_USER);
  takePassword("SMTP_PASSWORD", settings.SMTP_PASSWORD);
  takeNumber("MAX_SPAM_SIZE", settings.MAX_SPAM_SIZE, configCkMAX_SPAM_SIZE);
  takeNumber("MAX_LINK_SIZE", settings.MAX_LINK_SIZE, configCkMAX_LINK_SIZE);
  if (const auto value = postedValue("MESSAGES_PER_PAGE")) {
    settings.MESSAGES_PER_PAGE = toInt16(*value).value_or(settings.MESSAGES_PER_PAGE);
  }
}

std::string testConnections() {
  newMailComponent();
  std::string alerts;
  if (!settings.POP_SERVER.empty() && !currentMail->popConnect()) {
    beep();
    alerts = "alert('Cannot log onto POP3 Server!');";
  }
  if (!settings.SMTP_SERVER.empty() && !currentMail->smtpLogin()) {
    beep();
    alerts += "alert('Cannot log onto SMTP Server!');";
  }
  currentMail.reset();
  return alerts;
}

}  // namespace

std::string configUpdate() {
  // Browsers post no field for a box that is not checked, so its absence is the answer.
  form1.ckActive.setChecked(posted("ACTIVE=1"));
  form1.ckTestMode.setChecked(posted("TEST_MODE=1"));
  settings.NEW_WINDOW = posted("NEW_WINDOW=TRUE");
  settings.MAX_LINK_SIZE_ON = posted("MAX_LINK_SIZE_ON=TRUE");
  takePostedSettings();
  configSave();
  const std::string alerts = testConnections();
  return "<script language='Javascript'>" + alerts + "window.location='config.htm?s=" + form1.sessionId +
         "'</script>";
}

}  // namespace vornelle
