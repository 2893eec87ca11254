// Shutdown: the unload handler of the main window, whoever asks for it.
#pragma once

namespace vornelle {

// Logs the two closing lines, removes the notification icon, saves the settings (not in a duplicate copy) and ends the
// process at once.
[[noreturn]] void Form1_Unload();

}  // namespace vornelle
