// A POP3 server on the simulated network. It keeps to RFC 1939 but for what the test tells it to do wrong.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/sim/sim.h"

namespace vornelle {

// The mailbox, what has been seen of the client, and what goes wrong. One for all connections.
struct Pop3Mailbox {
  struct Message {
    std::string uidl;
    std::string text;                        // lines end with CR LF
    std::optional<std::string> listed = {};  // the size as LIST tells it, when it lies
  };
  std::vector<Message> messages;
  std::string account = "bob", password = "secret";

  bool hasTop = true, hasUidl = true, hasCapa = true, pipelining = true;
  bool hasUidlOfOne = true;  // UIDL takes a message number
  bool stuffsDots = true;
  // The whole answer to a verb ("RETR", or "RETR 2" for one message), in place of the right one.
  std::map<std::string, std::string> answers;
  // Verbs (as above) that end the connection instead of an answer, or are never answered again.
  std::string closesAt, stallsAt;
  // The connection ends after this many bytes of the server; the first connection's number is 1.
  std::size_t cutAfter = std::numeric_limits<std::size_t>::max();
  int cutConnection = 1;
  std::function<void(const std::string& command)> onCommand;
  // How a handshake goes; without it the server knows no TLS.
  std::optional<sim::TlsAnswer> tls;
  bool tlsAtOnce = false;  // the greeting comes behind the handshake
  std::function<void()> onHandshake;

  // Seen so far.
  std::vector<TlsPeer> peers;              // of the handshakes
  std::vector<std::string> plainCommands;  // those of `commands` that came before a handshake
  int connections = 0;
  std::vector<std::string> commands;  // "RETR 1"
  std::size_t deliveries = 0;         // pieces in which commands came
  std::size_t bytesSent = 0;          // by the server
  std::vector<std::string> deleted;   // unique-ids of what is gone for good

  // Commands so far with this verb, or this whole line.
  [[nodiscard]] int count(std::string_view what) const {
    int result = 0;
    for (const std::string& command : commands)
      result += command == what || command.substr(0, command.find(' ')) == what ? 1 : 0;
    return result;
  }
  [[nodiscard]] bool has(std::string_view uidl) const {
    for (const Message& message : messages) {
      if (message.uidl == uidl) return true;
    }
    return false;
  }
};

class ScriptedPop3 : public sim::Server {
 public:
  explicit ScriptedPop3(std::shared_ptr<Pop3Mailbox> mailbox)
      : mailbox_(std::move(mailbox)), number_(++mailbox_->connections), marked_(mailbox_->messages.size()) {}

  void onConnect(std::string& out) override {
    if (!mailbox_->tlsAtOnce) greet(out);
  }

  sim::TlsAnswer onTls(const TlsPeer& peer, std::string& out) override {
    if (!mailbox_->tls) return sim::Server::onTls(peer, out);
    mailbox_->peers.push_back(peer);
    if (mailbox_->onHandshake) mailbox_->onHandshake();
    if (mailbox_->tlsAtOnce) greet(out);
    return *mailbox_->tls;
  }

  void onData(std::string_view bytes, std::string& out) override {
    ++mailbox_->deliveries;
    received_ += bytes;
    for (std::size_t end; !closed && !stalled && (end = received_.find("\r\n")) != std::string::npos;) {
      const std::string command = received_.substr(0, end);
      received_.erase(0, end + 2);
      mailbox_->commands.push_back(command);
      if (!secured) mailbox_->plainCommands.push_back(command);
      if (mailbox_->onCommand) mailbox_->onCommand(command);
      answer(
          command, [&] { return rightAnswer(command); }, out);
    }
  }

 private:
  [[nodiscard]] static std::string verbOf(const std::string& command) {
    return command.substr(0, command.find(' '));
  }
  [[nodiscard]] static bool names(const std::string& script, const std::string& command) {
    return script == command || script == verbOf(command);
  }

  void greet(std::string& out) {
    answer(
        "GREETING", [] { return "+OK ready\r\n"; }, out);
  }

  // `right` is what the server does and says when nothing goes wrong.
  void answer(const std::string& command, const std::function<std::string()>& right, std::string& out) {
    std::string text;
    if (names(mailbox_->closesAt, command)) {
      closed = true;
    } else if (names(mailbox_->stallsAt, command)) {
      stalled = true;
    } else {
      const std::string* scripted = nullptr;
      for (const auto& [script, wrong] : mailbox_->answers) {
        if (names(script, command)) scripted = &wrong;
      }
      text = scripted != nullptr ? *scripted : right();
    }
    if (number_ == mailbox_->cutConnection && sent_ + text.size() > mailbox_->cutAfter) {
      text.resize(mailbox_->cutAfter - sent_);
      closed = true;
    }
    sent_ += text.size();
    mailbox_->bytesSent += text.size();
    out += text;
  }

  // The text as it goes over the line, with a status line before it and a dot behind.
  [[nodiscard]] std::string multiLine(std::string_view text) const {
    std::string result = "+OK\r\n";
    while (!text.empty()) {
      const std::size_t end = text.find("\r\n");
      const std::string_view line = text.substr(0, end == std::string_view::npos ? text.size() : end + 2);
      if (mailbox_->stuffsDots && line.starts_with('.')) result.push_back('.');
      result += line;
      text.remove_prefix(line.size());
    }
    if (!result.ends_with("\r\n")) result += "\r\n";
    return result + ".\r\n";
  }

  [[nodiscard]] static std::string firstLines(const std::string& text, int bodyLines) {
    std::size_t end = text.find("\r\n\r\n");
    if (end == std::string::npos) return text;
    end += 4;
    for (; bodyLines > 0 && end < text.size(); --bodyLines) {
      const std::size_t next = text.find("\r\n", end);
      end = next == std::string::npos ? text.size() : next + 2;
    }
    return text.substr(0, end);
  }

  std::string rightAnswer(const std::string& command) {
    const std::string verb = verbOf(command);
    const std::string argument = command.size() > verb.size() ? command.substr(verb.size() + 1) : "";
    if (verb == "QUIT") return quit();
    if (verb == "STLS" && mailbox_->tls && !secured) return "+OK go on\r\n";
    if (verb == "CAPA") {
      if (!mailbox_->hasCapa) return "-ERR unknown command\r\n";
      return std::string("+OK\r\nTOP\r\nUIDL\r\n") + (mailbox_->pipelining ? "PIPELINING\r\n" : "") + ".\r\n";
    }
    if (verb == "USER") {
      user_ = argument;
      return "+OK\r\n";
    }
    if (verb == "PASS") {
      loggedOn_ = user_ == mailbox_->account && argument == mailbox_->password;
      return loggedOn_ ? "+OK\r\n" : "-ERR wrong\r\n";
    }
    if (!loggedOn_) return "-ERR log on first\r\n";
    if (argument.empty() && (verb == "LIST" || (verb == "UIDL" && mailbox_->hasUidl)))
      return list(verb == "UIDL");
    const bool known = verb == "RETR" || verb == "DELE" || (verb == "TOP" && mailbox_->hasTop) ||
                       (verb == "UIDL" && mailbox_->hasUidl && mailbox_->hasUidlOfOne);
    const std::size_t index = static_cast<std::size_t>(std::atoi(argument.c_str())) - 1;
    if (!known || index >= marked_.size() || marked_[index]) return "-ERR no\r\n";
    const std::string& text = mailbox_->messages[index].text;
    if (verb == "RETR") return multiLine(text);
    if (verb == "UIDL") return "+OK " + argument + " " + mailbox_->messages[index].uidl + "\r\n";
    if (verb == "TOP")
      return multiLine(firstLines(text, std::atoi(argument.substr(argument.find(' ')).c_str())));
    marked_[index] = true;
    return "+OK\r\n";
  }

  [[nodiscard]] std::string list(bool uidls) const {
    std::string result = "+OK\r\n";
    for (std::size_t i = 0; i < marked_.size(); ++i) {
      if (marked_[i]) continue;
      const Pop3Mailbox::Message& message = mailbox_->messages[i];
      const std::string size = message.listed.value_or(std::to_string(message.text.size()));
      result += std::to_string(i + 1) + " " + (uidls ? message.uidl : size) + "\r\n";
    }
    return result + ".\r\n";
  }

  std::string quit() {
    closed = true;
    std::vector<Pop3Mailbox::Message> left;
    for (std::size_t i = 0; loggedOn_ && i < mailbox_->messages.size(); ++i) {
      if (i < marked_.size() && marked_[i]) {
        mailbox_->deleted.push_back(mailbox_->messages[i].uidl);
      } else {
        left.push_back(mailbox_->messages[i]);
      }
    }
    if (loggedOn_) mailbox_->messages = left;
    return "+OK\r\n";
  }

  std::shared_ptr<Pop3Mailbox> mailbox_;
  int number_;
  std::vector<bool> marked_;  // for deletion, in this session
  std::string received_;
  std::string user_;
  bool loggedOn_ = false;
  std::size_t sent_ = 0;
};

// Serves the mailbox at host:port of the simulated network.
inline std::shared_ptr<Pop3Mailbox> addPop3Server(const std::string& host = "mail.example", int port = 110) {
  auto mailbox = std::make_shared<Pop3Mailbox>();
  sim::addServer(host, port, [mailbox] { return std::make_unique<ScriptedPop3>(mailbox); });
  return mailbox;
}

}  // namespace vornelle
