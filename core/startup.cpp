// Start-up, step by step. The order is relied on elsewhere: the switches' handlers run while the settings are
// loaded, the banner quotes the port that the listener got and wipes the log box, a second copy is found only
// after it has shown its window.
#include "core/startup.h"

#include <algorithm>

#include "base/numbers.h"
#include "base/text.h"
#include "core/event_log.h"
#include "core/form1.h"
#include "core/random_letters.h"
#include "core/settings.h"
#include "desktop/main_window.h"
#include "mail/filter_lists.h"
#include "mail/schedule.h"
#include "mail/spambox_store.h"
#include "platform/clock.h"
#include "platform/events.h"
#include "platform/files.h"
#include "platform/modGoToSleep.h"
#include "platform/modPopup.h"
#include "platform/shell.h"
#include "web/gateway.h"
#include "web/listener.h"
#include "web/session.h"

namespace vornelle {
namespace {

constexpr const char* kTemplates[] = {"\\data\\config.htm", "\\data\\inbox.htm",   "\\data\\list.htm",
                                      "\\data\\login.htm",  "\\data\\spambox.htm", "\\data\\top.inc"};
constexpr int kDuplicatePauseMilliseconds = 5000;

void wireHandlers() {
  form1.ckActive.onClick = ckActiveClick;
  form1.ckTestMode.onClick = ckTestModeClick;
  form1.ckStartMinimized.onClick = ckStartMinimizedClick;
  form1.ckAutostart.onClick = ckAutostartClick;
  form1.LogWindow.onChange = doEvents;  // the desktop's mirror has moved the caret to the end
  form1.Timer1.onTick = Timer1_Timer;
  form1.Timer2.onTick = Timer2_Timer;
  form1.Timer_min.onTick = Timer_min_Timer;
  setTerminationHandler(mnuExitClick);
}

void createSpamFolder() {
  if (folderExists(spamFolder())) return;
  static_cast<void>(createFolder(spamFolder()));  // without it nothing counts as saved, so no mail is lost
  LogWindowAdd("Creating spam subdirectory...");
}

std::string startBanner() {
  return "Vornelle started: " + formatLogTime(utcNow()) + std::string(kCrLf) +
         "To access on this computer, open a webbrowser and use the address: " + webInterfaceAddress() +
         std::string(kCrLf);
}

bool templatesExist() {
  return std::ranges::all_of(kTemplates,
                             [](const char* name) { return fileExists(applicationFolder() + name); });
}

void endDuplicate() {
  form1.isClosingDuplicate = true;
  beep();
  LogWindowAdd(" ");
  LogWindowAdd("***Vornelle is already running! This instance will terminate in 5 seconds.");
  pause(kDuplicatePauseMilliseconds);  // the user can read the warning in this copy's window
  Form1_Unload();
}

}  // namespace

void Form1_Load() {
  form1.settingsUnread = true;  // until configLoad() is through: the steps before it let events in
  wireHandlers();
  createSpamFolder();
  createMissingLists();
  seedRandomLetters(static_cast<std::uint64_t>(utcNow()) * 1000 +
                    static_cast<std::uint64_t>(monotonicMilliseconds()));
  assignConstants();
  configLoad();
  listenerStart();
  if (listenerPort() != 0) gatewayStart();
  if (settings.START_MINIMIZED) windowResized(WindowState::minimized);
  form1.LogWindow.setText(startBanner());
  if (!templatesExist()) {
    messageBox("Missing installation files. Please reinstall.");
    Form1_Unload();
  }
  showMainWindow();
  static_cast<void>(notifyIconAdd(" Vornelle "));
  titlebarUpdate();
  if (previousInstanceRunning()) endDuplicate();
  // The first automatic filter run comes about two minutes after start, not a full interval later.
  if (const std::optional<std::int16_t> minutes = subtract16(settings.CHECK_MIN, 2))
    form1.minutesSinceCheck = *minutes;
}

}  // namespace vornelle
