// The state of the main window, Form1: switches, log box, timers, counters, the web session, the request
// being served and the row tables of the last page. One instance, shared by everything; no locks, no copies.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "core/controls.h"
#include "platform/events.h"

namespace vornelle {

enum class WindowState { normal, minimized };

// Row numbers run from 0 to this one, inclusive, on pages and in listings.
inline constexpr int kLastRow = 10000;

// The request being served. The gateway puts its own in the place of the plain listener's for a while
// (web/request_turn.h).
struct Request {
  std::string requestText;          // what the last receive brought, on whatever connection
  std::string requestPath;          // "" while no request is pending
  std::uint64_t requestNumber = 0;  // counts the requests whose path has been read
  bool requestByGateway = false;    // a browser's: what comes from strangers is text on its pages
};

struct Form1 : Request {
  // Switches.
  CheckBox ckActive;
  CheckBox ckTestMode;
  CheckBox ckStartMinimized;
  CheckBox ckAutostart;
  TextBox LogWindow;

  // Timers.
  Timer Timer1{1000, true};             // starts the filter run when it is due
  Timer Timer2{1000, true};             // ends the web session when it is over
  Timer Timer_min{60000, true};         // counts the minutes
  Timer TimerWS_Timeout{30000, false};  // bounds the wait for a request line

  // The window itself; the desktop mirrors it.
  std::string caption = "Vornelle";
  WindowState windowState = WindowState::normal;
  bool visible = false;
  std::function<void()> onWindowChange;  // caption, windowState or visible have changed
  std::function<void()> onRaise;         // the window is to come to the foreground

  // Counters and flags.
  bool isClosingDuplicate = false;  // a second copy of the program, which ends without saving anything
  // How many of the two lines with which a run ends are in the log file. Logging a line lets events in before
  // the file gets it, and one of them may ask for the end again: that then writes what the file still lacks.
  int closingLines = 0;
  // The settings file has not been read, or could not be: what it holds is not in the record, and the end of
  // the program must not write the record over it.
  bool settingsUnread = false;
  // Minutes counted while automatic filtering is on; at CHECK_MIN the filter runs. Every run and every saving
  // of the settings begins the count again.
  std::int32_t minutesSinceCheck = 0;

  // The web session.
  std::string sessionId;                // 64 letters; "" when nobody is logged in
  std::int32_t sessionMinutesUsed = 0;  // since the log-in or the last saving of the settings
  bool suppressTitleMinutes = false;    // set while the login page runs its title step

  bool wsTimedOut = false;  // TimerWS_Timeout has ticked: the wait for a request line is over without one

  // The rows of the last Inbox or SpamBox page, by row number 0 to kLastRow.
  std::vector<std::string> rowKey = std::vector<std::string>(kLastRow + 1);
  std::vector<std::string> rowSender = std::vector<std::string>(kLastRow + 1);
};

extern Form1 form1;

// The main window's unload handler, whoever asks for the end: logs the two closing lines, removes the
// notification icon, saves the settings and ends the process at once. A duplicate copy saves nothing, and
// neither does one whose settings file has not been read (the end came in the middle of start-up, or the file
// could not be read): defaults would replace it, passwords and all.
[[noreturn]] void Form1_Unload();

// Fetches the address over HTTP and stores the body in the file, as raw bytes. Blocks until the transfer
// ends, within the bounds of downloadUrl. Never reports failure: a server that cannot be reached leaves an
// empty file in place of an earlier one.
void openUrl(const std::string& url, const std::string& path);

}  // namespace vornelle
