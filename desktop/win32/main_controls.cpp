#include "desktop/win32/main_controls.h"

#include <algorithm>
#include <iterator>

#include "desktop/win32/fonts.h"
#include "desktop/win32/resource.h"
#include "desktop/win32/tool_tips.h"

namespace vornelle::win32 {
namespace {

enum class Kind { button, checkBox, label, log };

struct Control {
  int id;
  Kind kind;
  const wchar_t* caption;
  const char* toolTip;
};

constexpr Control kControls[] = {
    {IDC_cmdOpenBrowser, Kind::button, L"Launch",
     "Launch default Internet browser and show Vornelle interface"},
    {IDC_cmdFilterMail, Kind::button, L"Filter Mail", "Filter for spam (manual)"},
    {IDC_ckActive, Kind::checkBox, L"Active", "Starts auto spam filtering"},
    {IDC_ckTestMode, Kind::checkBox, L"Test Mode", "When checked, spam is not removed from InBox"},
    {IDC_ckStartMinimized, Kind::checkBox, L"Start Min", "Minimize window when starting"},
    {IDC_ckAutostart, Kind::checkBox, L"Autostart", "Run Vornelle at Windows startup"},
    {IDC_Label1, Kind::label, L"Log:", ""},
    {IDC_LogWindow, Kind::log, L"", "Logs Vornelle events"},
};

constexpr int kMinimumLogLines = 4;

DWORD styleOf(Kind kind) {
  switch (kind) {
    case Kind::button:
      return BS_PUSHBUTTON | WS_TABSTOP;
    case Kind::checkBox:
      return BS_AUTOCHECKBOX | WS_TABSTOP;
    case Kind::label:
      return SS_NOPREFIX;
    case Kind::log:
      return ES_MULTILINE | ES_READONLY | ES_AUTOVSCROLL | ES_AUTOHSCROLL | ES_NOHIDESEL | WS_VSCROLL |
             WS_HSCROLL | WS_TABSTOP;
  }
  return 0;
}

const wchar_t* classOf(Kind kind) {
  if (kind == Kind::label) return L"STATIC";
  return kind == Kind::log ? L"EDIT" : L"BUTTON";
}

}  // namespace

void MainControls::create(HWND window) {
  window_ = window;
  const HWND toolTips = makeToolTips(window);
  for (const Control& entry : kControls) {
    const HWND made = CreateWindowExW(entry.kind == Kind::log ? WS_EX_CLIENTEDGE : 0, classOf(entry.kind),
                                      entry.caption, WS_CHILD | WS_VISIBLE | styleOf(entry.kind), 0, 0, 0, 0,
                                      window, reinterpret_cast<HMENU>(static_cast<INT_PTR>(entry.id)),
                                      GetModuleHandleW(nullptr), nullptr);
    addToolTip(toolTips, made, entry.toolTip);
  }
  SendMessageW(logBox(), EM_SETLIMITTEXT, 0, 0);  // as much as the system can hold
  updateFont();
}

HWND MainControls::logBox() const {
  return control(IDC_LogWindow);
}

void MainControls::updateFont() {
  const HFONT before = font_;
  font_ = makeMessageFont(GetDpiForWindow(window_));
  for (const Control& entry : kControls) {
    SendMessageW(control(entry.id), WM_SETFONT, reinterpret_cast<WPARAM>(font_), TRUE);
  }
  if (before) DeleteObject(before);
}

MainControls::Measures MainControls::measure() const {
  const UINT dpi = GetDpiForWindow(window_);
  const auto width = [this](const Control& entry) {
    return static_cast<int>(textSize(window_, font_, entry.caption).cx);
  };
  const int lineHeight = static_cast<int>(textSize(window_, font_, L"Log:").cy);
  const int box = GetSystemMetricsForDpi(SM_CXMENUCHECK, dpi) + scaled(10, dpi);
  Measures all{};
  all.margin = scaled(10, dpi);
  all.gap = scaled(6, dpi);
  all.rowHeight = lineHeight + scaled(11, dpi);
  all.buttonWidth = std::max(width(kControls[0]), width(kControls[1])) + scaled(32, dpi);
  all.firstCheckWidth = std::max(width(kControls[2]), width(kControls[3])) + box;
  all.secondCheckWidth = std::max(width(kControls[4]), width(kControls[5])) + box;
  all.labelHeight = lineHeight;
  return all;
}

void MainControls::layOut() const {
  const Measures size = measure();
  RECT client;
  GetClientRect(window_, &client);
  const int secondRow = size.margin + size.rowHeight + size.gap;
  const int firstChecks = size.margin + size.buttonWidth + 2 * size.margin;
  const int secondChecks = firstChecks + size.firstCheckWidth + 2 * size.margin;
  const int labelTop = secondRow + size.rowHeight + size.gap;
  const int logTop = labelTop + size.labelHeight + size.gap / 2;

  HDWP moves = BeginDeferWindowPos(static_cast<int>(std::size(kControls)));
  const auto place = [&](int id, int left, int top, int width, int height) {
    if (moves) {
      moves = DeferWindowPos(moves, control(id), nullptr, left, top, std::max(width, 0), std::max(height, 0),
                             SWP_NOZORDER | SWP_NOACTIVATE);
    }
  };
  place(IDC_cmdOpenBrowser, size.margin, size.margin, size.buttonWidth, size.rowHeight);
  place(IDC_cmdFilterMail, size.margin, secondRow, size.buttonWidth, size.rowHeight);
  place(IDC_ckActive, firstChecks, size.margin, size.firstCheckWidth, size.rowHeight);
  place(IDC_ckTestMode, firstChecks, secondRow, size.firstCheckWidth, size.rowHeight);
  place(IDC_ckStartMinimized, secondChecks, size.margin, size.secondCheckWidth, size.rowHeight);
  place(IDC_ckAutostart, secondChecks, secondRow, size.secondCheckWidth, size.rowHeight);
  place(IDC_Label1, size.margin, labelTop, size.buttonWidth, size.labelHeight);
  place(IDC_LogWindow, size.margin, logTop, static_cast<int>(client.right) - 2 * size.margin,
        static_cast<int>(client.bottom) - logTop - size.margin);
  if (moves) EndDeferWindowPos(moves);
}

SIZE MainControls::minimumSize() const {
  const UINT dpi = GetDpiForWindow(window_);
  const Measures size = measure();
  RECT rectangle{};
  rectangle.right = size.margin + size.buttonWidth + 2 * size.margin + size.firstCheckWidth +
                    2 * size.margin + size.secondCheckWidth + size.margin;
  rectangle.bottom = size.margin + 2 * (size.rowHeight + size.gap) + size.labelHeight +
                     kMinimumLogLines * size.labelHeight + GetSystemMetricsForDpi(SM_CYHSCROLL, dpi) +
                     2 * size.margin;
  AdjustWindowRectExForDpi(&rectangle, WS_OVERLAPPEDWINDOW, TRUE, 0, dpi);
  return {rectangle.right - rectangle.left, rectangle.bottom - rectangle.top};
}

}  // namespace vornelle::win32
