// What the main window does: title, switches, buttons, menu, notification icon. A desktop calls these for
// what the user does; they change form1, and form1's observers change the screen.
#pragma once

#include <string>

#include "core/form1.h"

namespace vornelle {

// The address of the web interface, "http://localhost:7000".
[[nodiscard]] std::string webInterfaceAddress();

// Sets the caption: "Vornelle (v1.0.0) ".
void titlebarUpdate();

// Shows the window. One that is minimised goes on hiding: it lives in the notification area only.
void showMainWindow();

// The window has got this state, by the user or by the program. A minimised window is hidden. Safe to call
// again with the state that the window has.
void windowResized(WindowState state);

// A message of the notification icon: left button released (514) or double-clicked (515) restores, raises and
// shows the window; every other one does nothing.
void iconMessage(int message);

void ckStartMinimizedClick();
void ckAutostartClick();
void cmdOpenBrowserClick();

// The menu entry Exit and the window's close button. (The entries Import, Config and About open dialogs,
// which only a desktop with a screen has.)
[[noreturn]] void mnuExitClick();

}  // namespace vornelle
