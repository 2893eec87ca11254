// The log box's text goes to standard output as it grows. Everything else of the window has no place in a
// terminal. Lines are written at once, as many in a span of time as the program logs in its ordinary work;
// what comes beyond them is written together, at the end of the span or before the program blocks.
//
// Nobody has to read it: what a full pipe does not take waits here, up to a limit, and the program goes on.
// What comes beyond the limit is left out, and a line says so; the log file has all of it.
#include "desktop/window.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

#include "core/form1.h"
#include "desktop/terminal_text.h"
#include "platform/clock.h"
#include "platform/events.h"
#include "platform/meanwhile.h"
#include "platform/standard_output.h"

namespace vornelle {
namespace {

constexpr int kSpanMilliseconds = 100;
constexpr int kAtOnce = 4;
constexpr std::size_t kMostWaiting = std::size_t{256} * 1024;
constexpr std::string_view kLeftOut =
    "(Lines are missing here, since nobody has read them. They are in Vornelle.log.)\n";

class Output {
 public:
  Output() {
    timer_.onTick = [this] { write(); };
  }

  void print(std::string_view text) {
    const std::string out = toTerminalText(text);
    if (waiting_.size() + out.size() > kMostWaiting) write();
    leftOut_ = leftOut_ || waiting_.size() + out.size() > kMostWaiting;
    if (!leftOut_) waiting_ += out;
    const std::int64_t now = monotonicMilliseconds();
    if (now - spanStart_ >= kSpanMilliseconds) {
      spanStart_ = now;
      shownInSpan_ = 0;
    }
    if (shownInSpan_ < kAtOnce) {
      ++shownInSpan_;
      write();
    } else {
      timer_.setEnabled(true);
    }
  }

  void write() {
    waiting_.erase(0, writeToStandardOutput(waiting_));
    if (waiting_.empty() && std::exchange(leftOut_, false)) {
      waiting_ = kLeftOut;
      waiting_.erase(0, writeToStandardOutput(waiting_));
    }
    timer_.setEnabled(!waiting_.empty());
  }

 private:
  std::string waiting_;
  bool leftOut_ = false;
  std::int64_t spanStart_ = -kSpanMilliseconds;
  int shownInSpan_ = 0;
  Timer timer_{kSpanMilliseconds, false};  // runs while something waits
};

// Never destroyed: lines come until the process ends.
Output& output() {
  static auto* const instance = new Output;
  return *instance;
}

}  // namespace

void createMainWindow() {
  form1.LogWindow.onAppend = [](std::string_view text) { output().print(text); };
  form1.LogWindow.onReplace = [] { output().print(form1.LogWindow.text()); };
  setBeforeBlocking([] { output().write(); });
}

int runMessageLoop() {
  for (;;) waitEvents();
}

}  // namespace vornelle
