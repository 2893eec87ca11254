#include "desktop/win32/log_box.h"

#include <algorithm>
#include <cstdint>

#include "platform/clock.h"
#include "platform/events.h"
#include "platform/win32/text.h"

namespace vornelle::win32 {
namespace {

// In each span of time so many lines are shown at once; what comes beyond them is shown together at its end.
// A box that holds little shows as many as the program logs in its ordinary work: what comes next may hold
// the thread up for long, and the lines before it must be seen then. In a long box every change takes its
// time.
constexpr int kSpanMilliseconds = 100;
constexpr int kAtOnce = 4;
constexpr int kAtOnceInALongBox = 1;
constexpr int kLongBoxCharacters = 64 * 1024;

struct Waiting {
  HWND logBox = nullptr;
  std::string text;  // not yet shown
  std::int64_t spanStart = -kSpanMilliseconds;
  int shownInSpan = 0;
};

// Never destroyed: lines come until the process ends.
Waiting& waiting() {
  static Waiting* const instance = new Waiting;
  return *instance;
}

// A box takes its text up to the first NUL, and strangers can send one.
std::wstring boxText(std::string text) {
  std::replace(text.begin(), text.end(), '\0', '?');
  return widen(text);
}

void show();

Timer& showTimer() {
  static Timer* const timer = [] {
    auto* made = new Timer(kSpanMilliseconds, false);
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
  SendMessageW(lines.logBox, EM_REPLACESEL, FALSE, reinterpret_cast<LPARAM>(boxText(lines.text).c_str()));
  SendMessageW(lines.logBox, EM_SCROLLCARET, 0, 0);
  lines.text.clear();
  ++lines.shownInSpan;
}

bool mayShow() {
  Waiting& lines = waiting();
  const std::int64_t now = monotonicMilliseconds();
  if (now - lines.spanStart >= kSpanMilliseconds) {
    lines.spanStart = now;
    lines.shownInSpan = 0;
  }
  const bool isLong = GetWindowTextLengthW(lines.logBox) > kLongBoxCharacters;
  return lines.shownInSpan < (isLong ? kAtOnceInALongBox : kAtOnce);
}

}  // namespace

void logBoxAppend(HWND logBox, std::string_view piece) {
  Waiting& lines = waiting();
  lines.logBox = logBox;
  lines.text += piece;
  if (mayShow()) {
    show();
  } else {
    showTimer().setEnabled(true);
  }
}

void logBoxReplace(HWND logBox, const std::string& text) {
  Waiting& lines = waiting();
  lines.logBox = logBox;
  lines.text.clear();
  lines.shownInSpan = 0;
  SetWindowTextW(logBox, boxText(text).c_str());
  show();
}

}  // namespace vornelle::win32
