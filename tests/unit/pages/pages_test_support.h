// What the page tests share: templates that hold a page's markers and little else, and a mailbox.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "base/text.h"
#include "core/settings.h"
#include "tests/unit/mail/sim_maildrop.h"
#include "tests/unit/support.h"

namespace vornelle {

// A template of these markers between "[" and "]", in the application folder.
inline std::string bare(std::string_view markers) {
  return "<html>[" + std::string(markers) + "]</html>";
}

class PageTest : public SimTest {
 protected:
  PageTest() {
    assignConstants();
    form1.sessionId = "SESSION";
  }
};

// A mailbox on a POP3 server.
struct Mailbox : SimMaildrop {
  void add(std::string uidl, const std::string& from, const std::string& subject, std::size_t bodySize = 10) {
    std::string source;
    if (!from.empty()) source += "From: " + from + "\r\n";
    if (!subject.empty()) source += "Subject: " + subject + "\r\n";
    source += "Date: Sun, 15 Nov 2026 13:05:00 +0000\r\n\r\n" + std::string(bodySize, 'x') + "\r\n";
    mails.push_back({std::move(uidl), std::move(source)});
  }
};

// Serves it on "pop.example", which the settings then name.
inline void serve(Mailbox& mailbox) {
  mailbox.serve("pop.example");
  settings.POP_SERVER = "pop.example";
  settings.POP_ACCOUNT = "joe";
  settings.POP_PASSWORD = "secret";
}

}  // namespace vornelle
