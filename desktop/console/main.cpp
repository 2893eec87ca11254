// The console program: the main window as a terminal program, for machines without a screen.
#include <cstdio>
#include <string_view>

#include "core/startup.h"
#include "core/version.h"
#include "desktop/window.h"

namespace {

constexpr const char* kHelp =
    "Usage: vornelle\n"
    "\n"
    "Filters the spam out of one POP3 mailbox and serves a web interface for it.\n"
    "Everything the program needs stands beside it: the settings in Vornelle.ini,\n"
    "page templates and lists in data/, saved spam in spam/, the log in Vornelle.log.\n"
    "\n"
    "The log goes to standard output, message boxes go to standard error.\n"
    "SIGTERM or SIGINT (Ctrl-C) saves the settings and ends the program.\n"
    "\n"
    "  --help     shows this text\n"
    "  --version  shows the version\n";

}  // namespace

int main(int argumentCount, char** arguments) {
  if (argumentCount > 1) {
    const std::string_view argument = arguments[1];
    if (argumentCount == 2 && argument == "--help") {
      std::fputs(kHelp, stdout);
      return 0;
    }
    if (argumentCount == 2 && argument == "--version") {
      std::printf("Vornelle %s\n", vornelle::versionText().c_str());
      return 0;
    }
    const char* refused = argument == "--help" || argument == "--version" ? arguments[2] : arguments[1];
    std::fprintf(stderr, "vornelle: unknown argument '%s'; try 'vornelle --help'\n", refused);
    return 2;
  }
  vornelle::createMainWindow();
  vornelle::Form1_Load();
  return vornelle::runMessageLoop();
}
