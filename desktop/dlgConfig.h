// The settings dialog: what its boxes hold and what its buttons do. A desktop draws it from the table of
// settings, fills the boxes with dlgConfigLoad() and hands what they hold to SaveButtonClick(). Cancel only
// closes it.
#pragma once

#include <functional>
#include <map>
#include <string>

#include "core/settings_table.h"

namespace vornelle {

inline constexpr const char* kDlgConfigSaveCaption = "Update";
inline constexpr const char* kDlgConfigCancelCaption = "Cancel";

// What a box holds. Password boxes hold asterisks only, as many as the password has characters.
struct DlgConfigBox {
  std::string text;      // of a text box
  bool checked = false;  // of a check box
};
// The boxes by their names, which come from the settings that they edit: "txtPOP_SERVER", "ckNEW_WINDOW".
using DlgConfig = std::map<std::string, DlgConfigBox, std::less<>>;

// The name of the box in the dialog's row of that setting. The rows are settingsInDialog().
[[nodiscard]] std::string dlgConfigBoxName(const Setting& setting);

// What the boxes show when the dialog opens.
[[nodiscard]] DlgConfig dlgConfigLoad();

// What stands in a line of its own above the buttons: why the servers could not be logged on to when that was
// tried last, a warning, or what a server field takes. Lines ended by LF.
[[nodiscard]] std::string dlgConfigNotes();

struct DlgConfigResult {
  bool close = false;  // otherwise the dialog stays open
  std::string focus;   // the name of the box that gets the focus; "" for none
};

// The Update button. A port or messages-per-page box that holds no number is refused with a message box, and
// nothing is stored. Otherwise stores the settings, saves the file and tests the connections to both mail
// servers, with message boxes on the way; the settings stay saved whatever the tests find. Serves events
// while a box is open where there is a screen, and blocks for mail.
[[nodiscard]] DlgConfigResult SaveButtonClick(const DlgConfig& boxes);

}  // namespace vornelle
