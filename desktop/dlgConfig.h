// The settings dialog: what its boxes hold and what its buttons do. A desktop draws it from these tables,
// fills the boxes with dlgConfigLoad() and hands what they hold to SaveButtonClick(). Cancel only closes it.
#pragma once

#include <string>

namespace vornelle {

inline constexpr const char* kDlgConfigSaveCaption = "Update";
inline constexpr const char* kDlgConfigCancelCaption = "Cancel";

// The boxes, named after the settings that they edit. Password boxes hold asterisks only, as many as the
// password has characters.
struct DlgConfig {
  std::string txtHTTP_PORT_CFG;
  std::string txtCHECK_MIN;
  std::string txtSESSION_MIN;
  std::string txtPOP_SERVER;
  std::string txtPOP_ACCOUNT;
  std::string txtPOP_PASSWORD;
  std::string txtSMTP_SERVER;
  std::string txtSMTP_USER;
  std::string txtSMTP_PASSWORD;
  bool ckNEW_WINDOW = false;
  std::string txtEMAIL_ADDRESS;
  std::string txtMAX_SPAM_SIZE;
  std::string txtMAX_LINK_SIZE;
  bool ckMAX_LINK_SIZE_ON = false;
  std::string txtMESSAGES_PER_PAGE;
};

// One row of the dialog, in the order in which they stand. "" for what a row does not have.
struct DlgConfigRow {
  const char* label;
  const char* toolTip;
  const char* unit;
  std::string DlgConfig::*text;  // null for a check box
  bool DlgConfig::*check;        // null for a text box
};
// The On/Off box of the maximum link size is a row of its own with the caption as its label; a desktop may
// draw it beside the row above.
inline constexpr DlgConfigRow kDlgConfigRows[] = {
    {"HTTP Port:", "HTTP Port that Vornelle listens to", "Chg req restart", &DlgConfig::txtHTTP_PORT_CFG,
     nullptr},
    {"Filter Timer:", "How often to automatically filter for spam", "mins (10-60)", &DlgConfig::txtCHECK_MIN,
     nullptr},
    {"Session Timeout:", "How long before user must relogin", "mins (10-60)", &DlgConfig::txtSESSION_MIN,
     nullptr},
    {"POP3 Mail Server:", "POP3 mail server name", "", &DlgConfig::txtPOP_SERVER, nullptr},
    {"Account Name:", "E-mail account name", "", &DlgConfig::txtPOP_ACCOUNT, nullptr},
    {"Account Password:", "E-mail account password", "", &DlgConfig::txtPOP_PASSWORD, nullptr},
    {"SMTP Server:", "Server used to send mail", "", &DlgConfig::txtSMTP_SERVER, nullptr},
    {"SMTP Auth Username:", "Sending server username. Not always required.", "", &DlgConfig::txtSMTP_USER,
     nullptr},
    {"SMTP Auth Password:", "Sending server password. Not always required.", "", &DlgConfig::txtSMTP_PASSWORD,
     nullptr},
    {"Display in New Window:", "Displays email/spam in new browser window", "", nullptr,
     &DlgConfig::ckNEW_WINDOW},
    {"Email Address:", "Account e-mail address", "", &DlgConfig::txtEMAIL_ADDRESS, nullptr},
    {"Maximum Spam Size:", "Messages larger than this are not considered spam", "kbytes (10-30000)",
     &DlgConfig::txtMAX_SPAM_SIZE, nullptr},
    {"Maximum Link Size", "No link to read messages is provided if larger than this", "kbytes (10-30000)",
     &DlgConfig::txtMAX_LINK_SIZE, nullptr},
    {"On/Off", "", "", nullptr, &DlgConfig::ckMAX_LINK_SIZE_ON},
    {"Messages Per Page", "Number of messages to show per page", "", &DlgConfig::txtMESSAGES_PER_PAGE,
     nullptr},
};

// What the boxes show when the dialog opens.
[[nodiscard]] DlgConfig dlgConfigLoad();

struct DlgConfigResult {
  bool close = false;                       // otherwise the dialog stays open
  std::string DlgConfig::*focus = nullptr;  // the box that gets the focus, if any
};

// The Update button. A port or messages-per-page box that holds no number is refused with a message box, and
// nothing is stored. Otherwise stores the settings, saves the file and tests the connections to both mail
// servers, with message boxes on the way; the settings stay saved whatever the tests find. Serves events
// while a box is open where there is a screen, and blocks for mail.
[[nodiscard]] DlgConfigResult SaveButtonClick(const DlgConfig& boxes);

}  // namespace vornelle
