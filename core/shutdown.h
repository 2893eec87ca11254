// Shutdown: the unload handler of the main window, whoever asks for it.
#pragma once

namespace vornelle {

// Logs the two closing lines, removes the notification icon, saves the settings and ends the process at once.
// A duplicate copy saves nothing, and neither does one whose settings file has not been read (the end came in
// the middle of start-up, or the file could not be read): defaults would replace it, passwords and all.
[[noreturn]] void Form1_Unload();

}  // namespace vornelle
