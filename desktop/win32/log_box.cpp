#include "desktop/win32/log_box.h"

#include "platform/win32/text.h"

namespace vornelle::win32 {
void logBoxAppend(HWND logBox, std::string_view piece) {
  // Replacing an empty selection at the end touches nothing that is there; setting the whole text anew would take
  // longer with every line.
  const auto end = static_cast<WPARAM>(GetWindowTextLengthW(logBox));
  SendMessageW(logBox, EM_SETSEL, end, static_cast<LPARAM>(end));
  SendMessageW(logBox, EM_REPLACESEL, FALSE, reinterpret_cast<LPARAM>(widen(piece).c_str()));
  SendMessageW(logBox, EM_SCROLLCARET, 0, 0);
}

void logBoxReplace(HWND logBox, const std::string& text) {
  SetWindowTextW(logBox, widen(text).c_str());
  logBoxAppend(logBox, "");
}

}  // namespace vornelle::win32
