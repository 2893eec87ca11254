// Filter runs over a mailbox in the simulated network: a fresh application folder with one friend, and a
// server.
#pragma once

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "core/settings.h"
#include "mail/filter_run.h"
#include "mail/mail_component.h"
#include "tests/unit/mail/sim_maildrop.h"
#include "tests/unit/support.h"

namespace vornelle {

class FilterRun : public SimTest {
 protected:
  FilterRun() {
    assignConstants();
    settings.POP_SERVER = "mail.example";
    settings.POP_ACCOUNT = "joe";
    settings.POP_PASSWORD = "secret";
    EXPECT_TRUE(createFolder(inFolder("\\spam")));
    makeFile("\\data\\friendlist.txt", "@friends.example\r\n");
    makeFile("\\data\\subjectlist.txt", "");
    makeFile("\\data\\enemylist.txt", "");
    drop.serve("mail.example");
  }

  ~FilterRun() override { currentMail.reset(); }  // while its server is still there

  static std::string mailFrom(const std::string& sender, const std::string& subject = "hello") {
    return "From: " + sender + "\r\nSubject: " + subject + "\r\n\r\nA body.\r\n.\r\n";
  }

  void add(const std::string& uidl, const std::string& sender, const std::string& subject = "hello") {
    drop.mails.push_back({.uidl = uidl, .source = mailFrom(sender, subject)});
  }

  // The lines of the log box, as far as they are new.
  std::vector<std::string> newLog() {
    std::vector<std::string> lines = logLines();
    lines.erase(lines.begin(),
                lines.begin() + static_cast<std::ptrdiff_t>(std::exchange(logSeen_, lines.size())));
    return lines;
  }

  std::vector<std::string> runLog() {
    mailFilter();
    return newLog();
  }

  // Whether the message stays in the mailbox when it is filtered alone.
  bool isKept(const SimMail& mail) {
    drop.mails = {mail};
    mailFilter();
    return !drop.mails.empty();
  }
  bool isKept(const std::string& sender, const std::string& subject = "hello") {
    return isKept({.uidl = "u", .source = mailFrom(sender, subject)});
  }

  static bool isSaved(const std::string& uidl, const std::string& source) {
    return contentOf("\\spam\\" + uidl + ".txt") == source + "\r\n";
  }

  SimMaildrop drop;

 private:
  std::size_t logSeen_ = 0;  // lines
};

}  // namespace vornelle
