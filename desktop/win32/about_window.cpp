#include "desktop/win32/dialogs.h"

#include <memory>

#include <windows.h>
// After windows.h.
#include <commctrl.h>

#include "desktop/frmAbout.h"
#include "desktop/win32/browser_control.h"
#include "desktop/win32/dialog_text.h"
#include "desktop/win32/modal.h"
#include "desktop/win32/resource.h"
#include "platform/shell.h"

namespace vornelle::win32 {
namespace {

constexpr UINT_PTR kLoadTimer = 1;
constexpr UINT kLoadMilliseconds = 2000;
constexpr UINT kTextMessage = WM_APP;

std::unique_ptr<BrowserControl> browser;

// The text as a link control takes it.
std::string linkControlText() {
  std::string text;
  for (const AboutParagraph& paragraph : frmAboutParagraphs()) {
    if (!text.empty()) text += "\n\n";
    text += paragraph.text;
    if (!paragraph.link.empty()) text += "<a href=\"" + paragraph.link + "\">" + paragraph.link + "</a>";
  }
  return text;
}

RECT textPlace(HWND dialog) {
  RECT place;
  GetWindowRect(GetDlgItem(dialog, IDC_ABOUT_TEXT), &place);
  MapWindowPoints(nullptr, dialog, reinterpret_cast<POINT*>(&place), 2);
  return place;
}

// In the place that the dialog keeps for the text.
void showLinkControl(HWND dialog) {
  const RECT place = textPlace(dialog);
  DestroyWindow(GetDlgItem(dialog, IDC_ABOUT_TEXT));
  const HWND text = CreateWindowExW(
      0, WC_LINK, widen(linkControlText()).c_str(), WS_CHILD | WS_VISIBLE | WS_TABSTOP, place.left, place.top,
      place.right - place.left, place.bottom - place.top, dialog,
      reinterpret_cast<HMENU>(static_cast<INT_PTR>(IDC_ABOUT_TEXT)), GetModuleHandleW(nullptr), nullptr);
  SendMessageW(text, WM_SETFONT, static_cast<WPARAM>(SendMessageW(dialog, WM_GETFONT, 0, 0)), TRUE);
}

void openLink(const std::string& address) {
  static_cast<void>(openInBrowser(address));
}

void linkChosen(const NMHDR& header) {
  if (header.idFrom != IDC_ABOUT_TEXT || (header.code != NM_CLICK && header.code != NM_RETURN)) return;
  const auto& link = reinterpret_cast<const NMLINK&>(header);
  openLink(narrow(link.item.szUrl));
}

// Under Wine the engine behind the control may be missing although the control is there; Wine would then ask
// the user to download it.
bool engineAsksToBeInstalled() {
  const HMODULE system = GetModuleHandleW(L"ntdll.dll");
  if (!system || !GetProcAddress(system, "wine_get_version")) return false;
  const HMODULE engine = LoadLibraryW(L"mshtml.dll");
  if (engine) FreeLibrary(engine);
  return engine != nullptr;
}

void showText(HWND dialog) {
  if (!engineAsksToBeInstalled()) {
    browser = BrowserControl::create(dialog, textPlace(dialog), frmAboutHtml(), openLink);
  }
  if (browser) {
    SetTimer(dialog, kLoadTimer, kLoadMilliseconds, nullptr);
  } else {
    showLinkControl(dialog);
  }
}

void loadTimeIsUp(HWND dialog) {
  KillTimer(dialog, kLoadTimer);
  if (browser && browser->showsText()) return;
  browser.reset();
  showLinkControl(dialog);
}

void fillAbout(HWND dialog) {
  setWindowText(dialog, frmAboutTitle());
  // Making the browser control takes a while: the window is seen first and gets its text then.
  PostMessageW(dialog, kTextMessage, 0, 0);
}

void aboutCommand(HWND dialog, int control, int /*notification*/) {
  if (control == IDOK || control == IDCANCEL) closeModal(dialog);
}

bool furtherMessage(HWND dialog, UINT message, LPARAM lParam) {
  switch (message) {
    case kTextMessage:
      RedrawWindow(dialog, nullptr, nullptr, RDW_UPDATENOW | RDW_ALLCHILDREN);
      showText(dialog);
      return true;
    case WM_NOTIFY:
      linkChosen(*reinterpret_cast<const NMHDR*>(lParam));
      return true;
    case WM_TIMER:
      loadTimeIsUp(dialog);
      return true;
    case WM_DESTROY:
      browser.reset();
      return true;
    default:
      return false;
  }
}

}  // namespace

void showAboutWindow() {
  runModal(IDD_ABOUT, 0, {fillAbout, aboutCommand, furtherMessage});
}

}  // namespace vornelle::win32
