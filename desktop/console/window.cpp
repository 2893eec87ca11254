// The log box's text goes to standard output as it grows. Everything else of the window has no place in a
// terminal.
#include "desktop/window.h"

#include <cstdio>
#include <string>
#include <string_view>

#include "core/form1.h"
#include "desktop/terminal_text.h"
#include "platform/events.h"

namespace vornelle {
namespace {

void print(std::string_view text) {
  const std::string out = toTerminalText(text);
  std::fwrite(out.data(), 1, out.size(), stdout);
  std::fflush(stdout);
}

}  // namespace

void createMainWindow() {
  form1.LogWindow.onAppend = print;
  form1.LogWindow.onReplace = [] { print(form1.LogWindow.text()); };
}

int runMessageLoop() {
  for (;;) waitEvents();
}

}  // namespace vornelle
