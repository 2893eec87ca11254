#include "pages/settings_page.h"

#include <utility>

#include "core/form1.h"
#include "core/settings.h"
#include "pages/template.h"

namespace vornelle {

std::string pageSettings() {
  std::string page = readTemplate("config.htm");
  const auto checked = [](bool on) { return std::string(on ? "CHECKED" : ""); };
  return fillPage(std::move(page),
                  {{"<!--SSPAGEDESC-->", "Config"},
                   // The switches as the window shows them, not as they were stored.
                   {"<!--ACTIVE-->", checked(form1.ckActive.checked())},
                   {"<!--TEST_MODE-->", checked(form1.ckTestMode.checked())},
                   {"<!--NEW_WINDOW-->", checked(settings.NEW_WINDOW)},
                   {"<!--MAX_LINK_SIZE_ON-->", checked(settings.MAX_LINK_SIZE_ON)},
                   {"<!--HTTP_PORT_CFG-->", settings.HTTP_PORT_CFG},
                   {"<!--CHECK_MIN-->", std::to_string(settings.CHECK_MIN)},
                   {"<!--SESSION_MIN-->", std::to_string(settings.SESSION_MIN)},
                   {"<!--EMAIL_ADDRESS-->", settings.EMAIL_ADDRESS},
                   {"<!--POP_SERVER-->", settings.POP_SERVER},
                   {"<!--POP_ACCOUNT-->", settings.POP_ACCOUNT},
                   {"<!--POP_PASSWORD-->", passwordMask(settings.POP_PASSWORD)},
                   {"<!--SMTP_SERVER-->", settings.SMTP_SERVER},
                   {"<!--SMTP_USER-->", settings.SMTP_USER},
                   {"<!--SMTP_PASSWORD-->", passwordMask(settings.SMTP_PASSWORD)},
                   {"<!--MAX_SPAM_SIZE-->", std::to_string(settings.MAX_SPAM_SIZE)},
                   {"<!--MAX_LINK_SIZE-->", std::to_string(settings.MAX_LINK_SIZE)},
                   {"<!--MESSAGES_PER_PAGE-->", std::to_string(settings.MESSAGES_PER_PAGE)}});
}

}  // namespace vornelle
