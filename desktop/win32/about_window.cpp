#include "desktop/win32/about_window.h"

#include <windows.h>
// After windows.h.
#include <commctrl.h>

#include "desktop/frmAbout.h"
#include "desktop/win32/dialog_text.h"
#include "desktop/win32/modal.h"
#include "desktop/win32/resource.h"
#include "platform/shell.h"

namespace vornelle::win32 {
namespace {

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
  const HWND text =
      CreateWindowExW(0, WC_LINK, widen(linkControlText()).c_str(), WS_CHILD | WS_VISIBLE | WS_TABSTOP, place.left,
                      place.top, place.right - place.left, place.bottom - place.top, dialog,
                      reinterpret_cast<HMENU>(static_cast<INT_PTR>(IDC_ABOUT_TEXT)), GetModuleHandleW(nullptr), nullptr);
  SendMessageW(text, WM_SETFONT, static_cast<WPARAM>(SendMessageW(dialog, WM_GETFONT, 0, 0)), TRUE);
}

void linkChosen(const NMHDR& header) {
  if (header.idFrom != IDC_ABOUT_TEXT || (header.code != NM_CLICK && header.code != NM_RETURN)) return;
  const auto& link = reinterpret_cast<const NMLINK&>(header);
  static_cast<void>(openInBrowser(narrow(link.item.szUrl)));
}

INT_PTR CALLBACK procedure(HWND dialog, UINT message, WPARAM wParam, LPARAM lParam) {
  switch (message) {
    case WM_INITDIALOG:
      setWindowText(dialog, frmAboutTitle());
      showLinkControl(dialog);
      SetFocus(GetDlgItem(dialog, IDOK));
      return FALSE;
    case WM_NOTIFY:
      linkChosen(*reinterpret_cast<const NMHDR*>(lParam));
      return TRUE;
    case WM_COMMAND:
      if (LOWORD(wParam) == IDOK || LOWORD(wParam) == IDCANCEL) closeModal(dialog);
      return TRUE;
    default:
      return FALSE;
  }
}

}  // namespace

void showAboutWindow() { runModal(IDD_ABOUT, 0, procedure, 0); }

}  // namespace vornelle::win32
