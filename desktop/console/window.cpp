// The log box's text goes to standard output as it grows. Everything else of the window has no place in a
// terminal. Lines are written at once, as many in a span of time as the program logs in its ordinary work;
// what comes beyond them is written together, at the end of the span or before the program blocks.
#include "desktop/window.h"

#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>

#include "core/form1.h"
#include "desktop/terminal_text.h"
#include "platform/before_blocking.h"
#include "platform/clock.h"
#include "platform/events.h"

namespace vornelle {
namespace {

constexpr int kSpanMilliseconds = 100;
constexpr int kAtOnce = 4;

// Never destroyed: lines come until the process ends, which writes what is left.
Timer& spanTimer() {
  static auto* const timer = new Timer(kSpanMilliseconds, false);
  return *timer;
}

void showAll() {
  spanTimer().setEnabled(false);
  std::fflush(stdout);
}

void print(std::string_view text) {
  static std::int64_t spanStart = -kSpanMilliseconds;
  static int shownInSpan = 0;
  const std::string out = toTerminalText(text);
  std::fwrite(out.data(), 1, out.size(), stdout);
  const std::int64_t now = monotonicMilliseconds();
  if (now - spanStart >= kSpanMilliseconds) {
    spanStart = now;
    shownInSpan = 0;
  }
  if (shownInSpan < kAtOnce) {
    ++shownInSpan;
    showAll();
  } else {
    spanTimer().setEnabled(true);
  }
}

}  // namespace

void createMainWindow() {
  form1.LogWindow.onAppend = print;
  spanTimer().onTick = showAll;
  setBeforeBlocking(showAll);
  form1.LogWindow.onReplace = [] { print(form1.LogWindow.text()); };
}

int runMessageLoop() {
  for (;;) waitEvents();
}

}  // namespace vornelle
