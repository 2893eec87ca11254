#include "desktop/win32/log_box.h"

#include <cstdint>

#include "platform/clock.h"
#include "platform/events.h"
#include "platform/win32/text.h"

namespace vornelle::win32 {
namespace {

constexpr int kShowMilliseconds = 100;

struct Waiting {
  HWND logBox = nullptr;
  std::string text;  // not yet shown
  std::int64_t lastShown = -kShowMilliseconds;
};

// Never destroyed: lines come until the process ends.
Waiting& waiting() {
  static Waiting* const instance = new Waiting;
  return *instance;
}

void show();

Timer& showTimer() {
  static Timer* const timer = [] {
    auto* made = new Timer(kShowMilliseconds, false);
    made->onTick = show;
    return made;
  }();
  return *timer;
}

// Replacing an empty selection at the end touches nothing that is there; setting the whole text anew would
// take longer with every line.
void show() {
  Waiting& lines = waiting();
  showTimer().setEnabled(false);
  const auto end = static_cast<WPARAM>(GetWindowTextLengthW(lines.logBox));
  SendMessageW(lines.logBox, EM_SETSEL, end, static_cast<LPARAM>(end));
  SendMessageW(lines.logBox, EM_REPLACESEL, FALSE, reinterpret_cast<LPARAM>(widen(lines.text).c_str()));
  SendMessageW(lines.logBox, EM_SCROLLCARET, 0, 0);
  lines.text.clear();
  lines.lastShown = monotonicMilliseconds();
}

}  // namespace

void logBoxAppend(HWND logBox, std::string_view piece) {
  Waiting& lines = waiting();
  lines.logBox = logBox;
  lines.text += piece;
  if (monotonicMilliseconds() - lines.lastShown >= kShowMilliseconds) {
    show();
  } else {
    showTimer().setEnabled(true);
  }
}

void logBoxReplace(HWND logBox, const std::string& text) {
  Waiting& lines = waiting();
  lines.logBox = logBox;
  lines.text.clear();
  SetWindowTextW(logBox, widen(text).c_str());
  show();
}

}  // namespace vornelle::win32
