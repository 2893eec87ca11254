// What the program asks of the desktop around it. Console implementations: message boxes go to standard error, beep,
// notification icon and shortcuts do nothing.
#pragma once

#include <string>

namespace vornelle {

void beep();

enum class MessageIcon { none, information };

// A box with an OK button and the program's default title ("Vornelle"), brought to the foreground; returns when it has
// been answered. Events are served meanwhile where there is a screen.
void messageBox(const std::string& text, MessageIcon icon = MessageIcon::none);

// True when another copy of the program runs in the same application folder. The first call settles it for the process
// and, when there is none, marks this copy as the running one until the process ends.
[[nodiscard]] bool previousInstanceRunning();

// Ends the process at once, with nothing torn down. Exit status 0. (The simulated platform throws sim::ProcessEnded.)
[[noreturn]] void endProcess();

// The path of a shell special folder, ending in "\"; "" on any failure. Folder id 7 is the user's Startup folder.
[[nodiscard]] std::string getSpecialFolderPath(int folderId);

// Creates "<special folder>\<name>.lnk" for the target in the user's Startup folder.
[[nodiscard]] bool createStartupLink(const std::string& linkName, const std::string& targetPath);

// Opens the address in the user's browser (working folder "C:\", normal window).
[[nodiscard]] bool openInBrowser(const std::string& address);

// Downloads the address over HTTP, always afresh, through the system's proxy settings; follows nothing, at most 64 KiB,
// at most two seconds in all for connecting and reading. What arrived until a failure; "" when nothing did.
[[nodiscard]] std::string downloadUrl(const std::string& url);

// The notification icon: one icon, id 1, owned by the main window. A tip has at most 63 characters.
[[nodiscard]] bool notifyIconAdd(const std::string& tip);
[[nodiscard]] bool notifyIconModifyTip(const std::string& tip);
[[nodiscard]] bool notifyIconDelete();

}  // namespace vornelle
