#include "desktop/main_window.h"

#include "core/event_log.h"
#include "core/form1.h"
#include "core/settings.h"
#include "core/version.h"
#include "platform/files.h"
#include "platform/modSpecialFolders.h"
#include "platform/shell.h"

namespace vornelle {
namespace {

constexpr int kLeftButtonUp = 514;
constexpr int kLeftButtonDoubleClick = 515;

void windowChanged() {
  if (form1.onWindowChange) form1.onWindowChange();
}

}  // namespace

std::string webInterfaceAddress() {
  return "http://localhost:" + std::to_string(settings.httpPort);
}

void titlebarUpdate() {
  form1.caption = "Vornelle (v" + versionText() + ") ";
  windowChanged();
}

void showMainWindow() {
  form1.visible = form1.windowState != WindowState::minimized;
  windowChanged();
}

void windowResized(WindowState state) {
  const bool hides = state == WindowState::minimized && form1.visible;
  if (form1.windowState == state && !hides) return;  // the screen has followed a change of form1
  form1.windowState = state;
  if (hides) form1.visible = false;
  windowChanged();
}

void iconMessage(int message) {
  if (message != kLeftButtonUp && message != kLeftButtonDoubleClick) return;
  form1.windowState = WindowState::normal;
  windowChanged();
  if (form1.onRaise) form1.onRaise();
  form1.visible = true;
  windowChanged();
}

void ckStartMinimizedClick() {
  LogWindowAdd(form1.ckStartMinimized.checked() ? "Vornelle will start with window minimized"
                                                : "Vornelle will start with window open");
}

void ckAutostartClick() {
  const bool exists = startupLinkExists();
  if (form1.ckAutostart.checked() && !exists) {
    // The target's name is fixed: it does not follow the name under which the program was started.
    static_cast<void>(createStartupLink("Vornelle", applicationFolder() + "\\vornelle.exe"));
  } else if (!form1.ckAutostart.checked() && exists) {
    static_cast<void>(deleteFile(startupLinkPath()));
  }
}

void cmdOpenBrowserClick() {
  static_cast<void>(openInBrowser(webInterfaceAddress()));
}

void mnuExitClick() {
  Form1_Unload();
}

}  // namespace vornelle
