// What the program asks of the desktop around it. A console program writes its message boxes to standard
// error and does not beep.
#pragma once

#include <string>

namespace vornelle {

void beep();

enum class MessageIcon { none, information };

// A box with an OK button and the program's default title ("Vornelle"), brought to the foreground; returns
// when it has been answered. Events are served meanwhile where there is a screen.
void messageBox(const std::string& text, MessageIcon icon = MessageIcon::none);

// True when another copy of the program runs in the same application folder, whoever has started it. The
// first call settles it for the process and, when there is none, marks this copy as the running one until the
// process ends.
[[nodiscard]] bool previousInstanceRunning();

// Ends the process at once, with nothing torn down. Exit status 0. (The simulated platform throws
// sim::ProcessEnded.)
[[noreturn]] void endProcess();

// Opens the address in the user's browser (working folder "C:\", normal window).
[[nodiscard]] bool openInBrowser(const std::string& address);

}  // namespace vornelle
