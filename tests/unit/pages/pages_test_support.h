// What the page tests share: templates that hold a page's markers and little else, and a POP3 server with a
// mailbox.
#pragma once

#include <algorithm>
#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "core/settings.h"
#include "core/text.h"
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

// A mailbox on "pop.example": log-on joe, secret.
struct Mailbox {
  struct Message {
    std::string uidl;
    std::string source;
  };
  std::vector<Message> messages;
  bool headersFail = false;  // LIST, UIDL and TOP are refused
  int logons = 0;
  std::vector<std::string> commands;  // as received, but for the log-on

  void add(std::string uidl, std::string from, std::string subject, std::size_t bodySize = 10) {
    std::string source;
    if (!from.empty()) source += "From: " + from + "\r\n";
    if (!subject.empty()) source += "Subject: " + subject + "\r\n";
    source += "Date: Sun, 15 Nov 2026 13:05:00 +0000\r\n\r\n" + std::string(bodySize, 'x') + "\r\n";
    messages.push_back({std::move(uidl), std::move(source)});
  }
};

class MailboxServer : public sim::Server {
 public:
  explicit MailboxServer(Mailbox& mailbox) : mailbox_(mailbox) {}

  void onConnect(std::string& out) override { out += "+OK ready\r\n"; }

  void onData(std::string_view bytes, std::string& out) override {
    pending_ += bytes;
    for (std::size_t end; (end = pending_.find("\r\n")) != std::string::npos; pending_.erase(0, end + 2)) {
      answer(pending_.substr(0, end), out);
    }
  }

 private:
  void answer(const std::string& line, std::string& out) {
    const std::string verb = toLower(line.substr(0, line.find(' ')));
    const std::string argument = line.size() > verb.size() ? line.substr(verb.size() + 1) : "";
    const auto number = static_cast<std::size_t>(std::atoi(argument.c_str()));
    if (verb != "user" && verb != "pass") mailbox_.commands.push_back(line);
    if (verb == "user") {
      out += "+OK\r\n";
    } else if (verb == "pass") {
      if (argument == "secret") mailbox_.logons++;
      out += argument == "secret" ? "+OK\r\n" : "-ERR no\r\n";
    } else if (verb == "stat") {
      out += "+OK " + std::to_string(mailbox_.messages.size()) + " 0\r\n";
    } else if (mailbox_.headersFail && verb != "quit") {
      out += "-ERR out of order\r\n";
    } else if (verb == "list" || verb == "uidl") {
      out += "+OK\r\n";
      for (std::size_t i = 0; i < mailbox_.messages.size(); i++) {
        const auto& message = mailbox_.messages[i];
        out += std::to_string(i + 1) + " " +
               (verb == "list" ? std::to_string(message.source.size()) : message.uidl) + "\r\n";
      }
      out += ".\r\n";
    } else if ((verb == "top" || verb == "retr") && number >= 1 && number <= mailbox_.messages.size()) {
      const std::string& source = mailbox_.messages[number - 1].source;
      out += "+OK\r\n" + (verb == "retr" ? source : source.substr(0, source.find("\r\n\r\n") + 4)) + ".\r\n";
    } else if (verb == "dele" && number >= 1 && number <= mailbox_.messages.size()) {
      deleted_.push_back(number - 1);
      out += "+OK\r\n";
    } else if (verb == "quit") {
      // Deletions take effect now, from the last one down.
      std::sort(deleted_.rbegin(), deleted_.rend());
      for (const std::size_t index : deleted_) {
        mailbox_.messages.erase(mailbox_.messages.begin() + static_cast<std::ptrdiff_t>(index));
      }
      out += "+OK bye\r\n";
      closed = true;
    } else {
      out += "-ERR unknown\r\n";
    }
  }

  Mailbox& mailbox_;
  std::string pending_;
  std::vector<std::size_t> deleted_;
};

inline void serve(Mailbox& mailbox) {
  sim::addServer("pop.example", 110, [&mailbox] { return std::make_unique<MailboxServer>(mailbox); });
  settings.POP_SERVER = "pop.example";
  settings.POP_ACCOUNT = "joe";
  settings.POP_PASSWORD = "secret";
}

}  // namespace vornelle
