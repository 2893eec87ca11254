#include "desktop/win32/log_box.h"

#include <algorithm>
#include <cstdint>

#include "platform/clock.h"
#include "platform/events.h"
#include "platform/win32/text.h"

namespace vornelle::win32 {
namespace {

// Lines are shown at once, as many in a span of time as the program logs in its ordinary work: what comes
// next may hold the thread up for long, and the lines before it must be seen then. What comes beyond them in
// the same span is shown together at its end.
//
// An edit box looks for its lines from the first one on each time that it draws one, so it becomes slow when
// it holds very many. The longer a long box takes the longer a span lasts: showing lines takes about a tenth
// of the time at most, however long the program has been running.
constexpr int kSpanMilliseconds = 100;
constexpr int kLongestSpanMilliseconds = 2000;
constexpr int kShare = 10;
constexpr int kAtOnce = 4;
constexpr int kLongBoxCharacters = 64 * 1024;

struct Waiting {
  HWND logBox = nullptr;
  std::string text;  // not yet shown
  std::int64_t spanStart = -kSpanMilliseconds;
  int shownInSpan = 0;
  std::int64_t spentInSpan = 0;  // milliseconds
};

// Never destroyed: lines come until the process ends.
Waiting& waiting() {
  static Waiting* const instance = new Waiting;
  return *instance;
}

// A box takes its text up to the first NUL, and strangers can send one.
std::wstring boxText(std::string text) {
  std::replace(text.begin(), text.end(), '\0', '?');
  return shownText(text);
}

void show();

void startSpan(std::int64_t now) {
  Waiting& lines = waiting();
  lines.spanStart = now;
  lines.shownInSpan = 0;
  lines.spentInSpan = 0;
}

Timer& showTimer() {
  static Timer* const timer = [] {
    auto* made = new Timer(kSpanMilliseconds, false);
    made->onTick = [] {
      startSpan(monotonicMilliseconds());
      show();
    };
    return made;
  }();
  return *timer;
}

std::int64_t spanLength() {
  return std::clamp<std::int64_t>(kShare * waiting().spentInSpan, kSpanMilliseconds,
                                  kLongestSpanMilliseconds);
}

// Replacing an empty selection at the end touches nothing that is there; setting the whole text anew would
// take longer with every line.
void show() {
  Waiting& lines = waiting();
  showTimer().setEnabled(false);
  const std::int64_t start = monotonicMilliseconds();
  const int end = GetWindowTextLengthW(lines.logBox);
  SendMessageW(lines.logBox, EM_SETSEL, static_cast<WPARAM>(end), end);
  SendMessageW(lines.logBox, EM_REPLACESEL, FALSE, reinterpret_cast<LPARAM>(boxText(lines.text).c_str()));
  SendMessageW(lines.logBox, EM_SCROLLCARET, 0, 0);
  lines.text.clear();
  ++lines.shownInSpan;
  if (end < kLongBoxCharacters) return;
  UpdateWindow(lines.logBox);  // drawing is what takes long
  lines.spentInSpan += monotonicMilliseconds() - start;
}

bool mayShow() {
  const Waiting& lines = waiting();
  const std::int64_t now = monotonicMilliseconds();
  if (now - lines.spanStart >= spanLength()) startSpan(now);
  return lines.shownInSpan < kAtOnce && kShare * lines.spentInSpan < kSpanMilliseconds;
}

}  // namespace

void logBoxAppend(HWND logBox, std::string_view piece) {
  Waiting& lines = waiting();
  lines.logBox = logBox;
  lines.text += piece;
  if (mayShow()) {
    show();
  } else {
    showTimer().setInterval(static_cast<int>(spanLength()));
    showTimer().setEnabled(true);
  }
}

void logBoxShowAll() {
  Waiting& lines = waiting();
  if (!lines.logBox) return;
  if (!lines.text.empty()) show();
  UpdateWindow(lines.logBox);
}

void logBoxReplace(HWND logBox, const std::string& text) {
  Waiting& lines = waiting();
  lines.logBox = logBox;
  lines.text.clear();
  startSpan(monotonicMilliseconds());
  SetWindowTextW(logBox, boxText(text).c_str());
  show();
}

}  // namespace vornelle::win32
