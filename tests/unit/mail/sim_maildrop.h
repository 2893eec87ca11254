// A mailbox on a POP3 server (RFC 1939) in the simulated network: what the tests of whole runs need of one,
// and faults that can be switched on.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "platform/sim/sim.h"

namespace vornelle {

struct SimMail {
  std::string uidl;
  std::string source;         // lines end in CR LF
  std::optional<int> size{};  // what LIST says; the length of the source when not set
  bool refused = false;       // RETR is answered with -ERR
  bool topRefused = false;    // and so is TOP
  bool undeletable = false;   // and so is DELE
};

struct SimMaildrop {
  std::vector<SimMail> mails;
  bool logOnRefused = false;
  bool uidlUnknown = false;  // the server has no UIDL command
  bool pipelining = false;   // CAPA says so
  int sessions = 0;          // that have begun
  int quits = 0;
  std::string cutAt;  // the connection ends in the middle of the answer to a command line that begins so
  std::function<void(const std::string& commandLine)> onCommand;

  // Serves it from then on. The maildrop must outlive the connections.
  void serve(const std::string& host, int port = 110);

  [[nodiscard]] std::vector<std::string> uidls() const {
    std::vector<std::string> result;
    for (const SimMail& mail : mails) result.push_back(mail.uidl);
    return result;
  }
};

class SimMaildropSession : public sim::Server {
 public:
  explicit SimMaildropSession(SimMaildrop& drop) : drop_(drop), mails_(drop.mails) { ++drop_.sessions; }

  void onConnect(std::string& out) override { out += "+OK ready\r\n"; }

  void onData(std::string_view bytes, std::string& out) override {
    input_ += bytes;
    for (std::size_t end = input_.find("\r\n"); end != std::string::npos && !closed;
         end = input_.find("\r\n")) {
      const std::string line = input_.substr(0, end);
      input_.erase(0, end + 2);
      std::string answer;
      execute(line, answer);
      if (drop_.onCommand) drop_.onCommand(line);
      if (!drop_.cutAt.empty() && line.starts_with(drop_.cutAt)) {
        answer.resize(answer.size() / 2);
        closed = true;
      }
      out += answer;
    }
  }

 private:
  void execute(const std::string& line, std::string& out) {
    const std::string verb = line.substr(0, line.find(' '));
    const std::size_t number =
        line.size() > verb.size() ? std::stoul(firstNumber(line.substr(verb.size() + 1))) : 0;
    const bool known = number >= 1 && number <= mails_.size() && !deleted_.contains(number);
    if (verb == "USER" || verb == "NOOP") {
      out += "+OK\r\n";
    } else if (verb == "PASS") {
      out += drop_.logOnRefused ? "-ERR no\r\n" : "+OK\r\n";
    } else if (verb == "STAT") {
      out += "+OK " + std::to_string(mails_.size() - deleted_.size()) + " 1\r\n";
    } else if (verb == "UIDL" && known && !drop_.uidlUnknown) {
      out += "+OK " + std::to_string(number) + " " + mails_[number - 1].uidl + "\r\n";
    } else if (line == "LIST" || (line == "UIDL" && !drop_.uidlUnknown)) {
      list(verb, out);
    } else if (verb == "CAPA" && drop_.pipelining) {
      out += "+OK\r\nTOP\r\nUIDL\r\nPIPELINING\r\n.\r\n";
    } else if (verb == "TOP" && known && !mails_[number - 1].topRefused) {
      const std::string& source = mails_[number - 1].source;
      multiline(source.substr(0, source.find("\r\n\r\n") + 4), out);
    } else if (verb == "RETR" && known && !mails_[number - 1].refused) {
      multiline(mails_[number - 1].source, out);
    } else if (verb == "DELE" && known && !mails_[number - 1].undeletable) {
      deleted_.insert(number);
      out += "+OK\r\n";
    } else if (verb == "RSET") {
      deleted_.clear();
      out += "+OK\r\n";
    } else if (verb == "QUIT") {
      quit();
      out += "+OK\r\n";
    } else {
      out += "-ERR\r\n";
    }
  }

  // "3 1" gives "3"; what is no number gives "0".
  static std::string firstNumber(const std::string& arguments) {
    const std::string digits = arguments.substr(0, arguments.find_first_not_of("0123456789"));
    return digits.empty() ? "0" : digits;
  }

  void list(const std::string& verb, std::string& out) const {
    out += "+OK\r\n";
    for (std::size_t number = 1; number <= mails_.size(); ++number) {
      if (deleted_.contains(number)) continue;
      const SimMail& mail = mails_[number - 1];
      const int size = mail.size.value_or(static_cast<int>(mail.source.size()));
      out += std::to_string(number) + " " + (verb == "LIST" ? std::to_string(size) : mail.uidl) + "\r\n";
    }
    out += ".\r\n";
  }

  static void multiline(std::string text, std::string& out) {
    out += "+OK\r\n";
    if (text.starts_with(".")) text.insert(0, ".");
    for (std::size_t at = 0; (at = text.find("\r\n.", at)) != std::string::npos; at += 4)
      text.insert(at + 2, ".");
    out += text + ".\r\n";
  }

  // Only here the deletions take effect.
  void quit() {
    closed = true;
    ++drop_.quits;
    std::vector<SimMail> kept;
    for (const SimMail& mail : drop_.mails) {
      bool gone = false;
      for (const std::size_t number : deleted_) {
        const SimMail& marked = mails_[number - 1];
        gone = gone || (marked.uidl == mail.uidl && marked.source == mail.source);
      }
      if (!gone) kept.push_back(mail);
    }
    drop_.mails = std::move(kept);
  }

  SimMaildrop& drop_;
  std::vector<SimMail> mails_;  // as they were when the session began
  std::set<std::size_t> deleted_;
  std::string input_;
};

inline void SimMaildrop::serve(const std::string& host, int port) {
  sim::addServer(host, port, [this] { return std::make_unique<SimMaildropSession>(*this); });
}

}  // namespace vornelle
