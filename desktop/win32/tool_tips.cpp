#include "desktop/win32/tool_tips.h"

#include <commctrl.h>

#include "platform/win32/text.h"

namespace vornelle::win32 {

HWND makeToolTips(HWND window) {
  return CreateWindowExW(WS_EX_TOPMOST, TOOLTIPS_CLASSW, nullptr, WS_POPUP | TTS_ALWAYSTIP | TTS_NOPREFIX,
                         CW_USEDEFAULT, CW_USEDEFAULT, CW_USEDEFAULT, CW_USEDEFAULT, window, nullptr,
                         GetModuleHandleW(nullptr), nullptr);
}

void addToolTip(HWND toolTips, HWND control, const char* text) {
  if (!control || !*text) return;
  std::wstring wide = widen(text);
  TTTOOLINFOW tool{};
  tool.cbSize = TTTOOLINFOW_V1_SIZE;
  tool.uFlags = TTF_IDISHWND | TTF_SUBCLASS;
  tool.hwnd = GetParent(control);
  tool.uId = reinterpret_cast<UINT_PTR>(control);
  tool.lpszText = wide.data();
  SendMessageW(toolTips, TTM_ADDTOOLW, 0, reinterpret_cast<LPARAM>(&tool));
}

}  // namespace vornelle::win32
