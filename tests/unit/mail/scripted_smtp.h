// An SMTP server on the simulated network. It keeps to RFC 5321 but for what the test tells it to do wrong.
#pragma once

#include <cstddef>
#include <functional>
#include <limits>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/sim/sim.h"

namespace vornelle {

// What has been seen of the client, and what goes wrong. One for all connections.
struct SmtpMailboxes {
  struct Mail {
    std::string from, to;  // as in the commands: "<bob@x.example> BODY=8BITMIME"
    std::string text;      // dots unstuffed
  };
  std::string user, password;  // asked for by AUTH LOGIN
  std::vector<std::string> extensions = {"8BITMIME", "AUTH LOGIN PLAIN"};
  // What EHLO announces before a handshake, where there is one.
  std::vector<std::string> plainExtensions = {"8BITMIME", "STARTTLS"};
  // How a handshake goes; without it the server knows no TLS.
  std::optional<sim::TlsAnswer> tls;
  bool tlsAtOnce = false;  // the greeting comes behind the handshake
  std::function<void()> onHandshake;
  // The whole answer to a command (by its verb; "GREETING"; "." for the end of a text), in place of the right
  // one.
  std::map<std::string, std::string> answers;
  std::string closesAt, stallsAt;                                  // as above
  std::size_t cutAfter = std::numeric_limits<std::size_t>::max();  // bytes of the server
  std::function<void(const std::string& command)> onCommand;

  int connections = 0;
  std::vector<TlsPeer> peers;  // of the handshakes
  std::vector<std::string> commands;
  std::vector<std::string> plainCommands;  // those of them that came before a handshake
  std::vector<Mail> mails;                 // taken over
  std::size_t bytesSent = 0;
};

class ScriptedSmtp : public sim::Server {
 public:
  explicit ScriptedSmtp(std::shared_ptr<SmtpMailboxes> state) : state_(std::move(state)) {
    ++state_->connections;
  }

  void onConnect(std::string& out) override {
    if (!state_->tlsAtOnce) greet(out);
  }

  sim::TlsAnswer onTls(const TlsPeer& peer, std::string& out) override {
    if (!state_->tls) return sim::Server::onTls(peer, out);
    state_->peers.push_back(peer);
    if (state_->onHandshake) state_->onHandshake();
    if (state_->tlsAtOnce) greet(out);
    return *state_->tls;
  }

  void onData(std::string_view bytes, std::string& out) override {
    received_ += bytes;
    for (std::size_t end; !closed && !stalled && (end = received_.find("\r\n")) != std::string::npos;) {
      const std::string line = received_.substr(0, end);
      received_.erase(0, end + 2);
      if (inText_) {
        takeTextLine(line, out);
      } else {
        takeCommand(line, out);
      }
    }
  }

 private:
  void greet(std::string& out) { answer("GREETING", "220-mail.example\r\n220 ready\r\n", out); }

  void takeCommand(const std::string& line, std::string& out) {
    state_->commands.push_back(line);
    if (state_->onCommand) state_->onCommand(line);
    if (!secured) state_->plainCommands.push_back(line);
    if (awaited_ != Awaited::command) return takeCredential(line, out);
    const std::string verb = line.substr(0, line.find(' '));
    std::string right = "250 ok\r\n";
    if (verb == "EHLO") {
      right = "250-mail.example\r\n";
      const bool beforeTls = state_->tls && !secured;
      for (const std::string& extension : beforeTls ? state_->plainExtensions : state_->extensions)
        right += "250-" + extension + "\r\n";
      right += "250 HELP\r\n";
    } else if (verb == "STARTTLS") {
      right = state_->tls && !secured ? "220 go on\r\n" : "502 no\r\n";
    } else if (verb == "AUTH") {
      if (state_->answers.count("AUTH") == 0) awaited_ = Awaited::user;
      right = "334 VXNlcm5hbWU6\r\n";
    } else if (verb == "MAIL") {
      mail_ = {};
      mail_.from = line.substr(line.find(':') + 1);
    } else if (verb == "RCPT") {
      mail_.to = line.substr(line.find(':') + 1);
    } else if (verb == "DATA") {
      right = "354 go on\r\n";
      inText_ = state_->answers.count("DATA") == 0;
    } else if (verb == "QUIT") {
      right = "221 bye\r\n";
    }
    answer(verb, right, out);
    if (verb == "QUIT") closed = true;
  }

  void takeCredential(const std::string& line, std::string& out) {
    if (awaited_ == Awaited::user) {
      user_ = line;
      awaited_ = Awaited::password;
      return answer("AUTH-USER", "334 UGFzc3dvcmQ6\r\n", out);
    }
    awaited_ = Awaited::command;
    const bool good = user_ == state_->user && line == state_->password;
    answer("AUTH-PASSWORD", good ? "235 ok\r\n" : "535 wrong\r\n", out);
  }

  void takeTextLine(const std::string& line, std::string& out) {
    if (line != ".") {
      mail_.text += line.substr(line.starts_with('.') ? 1 : 0) + "\r\n";
      return;
    }
    inText_ = false;
    if (state_->answers.count(".") == 0) state_->mails.push_back(mail_);
    answer(".", "250 taken\r\n", out);
  }

  void answer(const std::string& verb, std::string text, std::string& out) {
    if (const auto wrong = state_->answers.find(verb); wrong != state_->answers.end()) text = wrong->second;
    if (verb == state_->stallsAt) stalled = true;
    if (verb == state_->closesAt) closed = true;
    if (stalled || closed) text.clear();
    if (state_->bytesSent + text.size() > state_->cutAfter) {
      text.resize(state_->cutAfter - state_->bytesSent);
      closed = true;
    }
    state_->bytesSent += text.size();
    out += text;
  }

  enum class Awaited { command, user, password };
  std::shared_ptr<SmtpMailboxes> state_;
  std::string received_;
  Awaited awaited_ = Awaited::command;
  std::string user_;
  bool inText_ = false;
  SmtpMailboxes::Mail mail_;
};

// Serves at host:port of the simulated network.
inline std::shared_ptr<SmtpMailboxes> addSmtpServer(const std::string& host = "mail.example", int port = 25) {
  auto state = std::make_shared<SmtpMailboxes>();
  sim::addServer(host, port, [state] { return std::make_unique<ScriptedSmtp>(state); });
  return state;
}

}  // namespace vornelle
