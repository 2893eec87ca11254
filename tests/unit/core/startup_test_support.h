// What the tests of start-up share: an application folder with all templates, and views of box and file.
#pragma once

#include <array>
#include <string>
#include <string_view>

#include "base/text.h"
#include "core/startup.h"
#include "tests/unit/support.h"

namespace vornelle {

inline constexpr std::array kTemplates = {"\\data\\config.htm", "\\data\\inbox.htm",   "\\data\\list.htm",
                                          "\\data\\login.htm",  "\\data\\spambox.htm", "\\data\\top.inc"};
inline constexpr std::string_view kStamp = "[11-15-26 01:55 AM] ";
inline constexpr std::string_view kBanner =
    "Vornelle started: 11-15-26 01:55 AM\r\n"
    "To access on this computer, open a webbrowser and use the address: http://localhost:7000\r\n";

class Startup : public SimTest {
 protected:
  Startup() {
    for (const char* name : kTemplates) makeFile(name, "<html></html>");
  }

  static std::string stamped(std::string_view text) { return std::string(kStamp).append(text).append(kCrLf); }
  static std::string logFile() { return contentOf("\\Vornelle.log"); }
  static std::string box() { return form1.LogWindow.text(); }
};

}  // namespace vornelle
