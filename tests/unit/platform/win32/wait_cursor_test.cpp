#include "platform/wait_cursor.h"

#include <gtest/gtest.h>

#include <windows.h>

#include "platform/win32/shell_window.h"

namespace vornelle {
namespace {

HCURSOR hourglass() {
  return LoadCursorW(nullptr, MAKEINTRESOURCEW(32514));
}
HCURSOR arrow() {
  return LoadCursorW(nullptr, MAKEINTRESOURCEW(32512));
}

class WindowsWaitCursor : public testing::Test {
 protected:
  WindowsWaitCursor()
      : window_(CreateWindowExW(0, L"STATIC", L"", WS_OVERLAPPEDWINDOW, 0, 0, 200, 200, nullptr, nullptr,
                                GetModuleHandleW(nullptr), nullptr)) {
    win32::followWaitCursor(window_);
  }
  ~WindowsWaitCursor() override { DestroyWindow(window_); }

  // The pointer after it has moved over that place of the window.
  [[nodiscard]] HCURSOR over(WORD place) const {
    SendMessageW(window_, WM_SETCURSOR, reinterpret_cast<WPARAM>(window_), MAKELPARAM(place, WM_MOUSEMOVE));
    return GetCursor();
  }

 private:
  HWND window_;
};

TEST_F(WindowsWaitCursor, ThePointerIsAnHourglassAtOnceAndTheArrowAfterwards) {
  {
    const WaitCursor waiting;
    EXPECT_EQ(GetCursor(), hourglass());
    EXPECT_EQ(over(HTCLIENT), hourglass());
  }
  EXPECT_EQ(over(HTCLIENT), arrow());
}

TEST_F(WindowsWaitCursor, ItStaysUntilTheLastOneHasGone) {
  const WaitCursor outer;
  { const WaitCursor inner; }
  EXPECT_EQ(over(HTCLIENT), hourglass());
}

TEST_F(WindowsWaitCursor, BordersKeepTheirOwnPointers) {
  const WaitCursor waiting;
  EXPECT_NE(over(HTLEFT), hourglass());
}

}  // namespace
}  // namespace vornelle
