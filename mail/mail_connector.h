// How a mail client comes to its line: over TCP, and over TLS where the server setting asks for it. TLS asked
// for is TLS or nothing: there is no way back to plain text.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "mail/line_stream.h"
#include "mail/mail_failure.h"
#include "mail/server_address.h"

namespace vornelle {

class NetStream;

class MailConnector {
 public:
  virtual ~MailConnector() = default;

  // A line to the server, encrypted already where it is to be from the start. Null, and `failure` says why.
  [[nodiscard]] virtual std::unique_ptr<NetStream> connect(MailFailure& failure) = 0;

  // The line has to be encrypted (by STLS or STARTTLS) before anything else is said on it.
  [[nodiscard]] virtual bool upgrades() const = 0;

  // Encrypts such a line, once the server has agreed to it. Null, and `failure` says why; `again` then tells
  // that another connection may do better: the whole way once more.
  struct Secured {
    std::unique_ptr<NetStream> stream;
    bool again = false;
  };
  [[nodiscard]] virtual Secured secure(std::unique_ptr<NetStream> stream, MailFailure& failure) = 0;

  // What every failure of this line has in common: protocol, host, port, encrypted or not.
  [[nodiscard]] virtual MailFailure about() const = 0;
};

// What a client tells of its failure: what is known of the way to the line, or else what killed the line, or
// else that the server said no, in these words.
[[nodiscard]] MailFailure lineFailure(MailFailure known, MailStep step, LineProblem problem,
                                      std::string words);

// The line that a server setting describes. Connection, handshake and the check of the certificate share the
// time-out. Where this system offers its newest TLS only when asked, a server that knows nothing else gets
// one more connection.
class ServerConnector final : public MailConnector {
 public:
  ServerConnector(std::string_view field, MailProtocol protocol, int timeoutMilliseconds);

  [[nodiscard]] std::unique_ptr<NetStream> connect(MailFailure& failure) override;
  [[nodiscard]] bool upgrades() const override;
  [[nodiscard]] Secured secure(std::unique_ptr<NetStream> stream, MailFailure& failure) override;
  [[nodiscard]] MailFailure about() const override;

 private:
  [[nodiscard]] std::unique_ptr<NetStream> open(MailFailure& failure);
  [[nodiscard]] Secured startTlsOver(std::unique_ptr<NetStream> stream, MailFailure& failure);

  std::string text_;  // the setting
  ServerField field_;
  MailProtocol protocol_;
  int timeout_;
  int left_ = 0;         // of the time-out, in milliseconds
  bool again_ = false;   // the next connection is for the handshake that has just failed
  bool newest_ = false;  // handshakes offer the newest TLS alone
  MailReason firstReason_ = MailReason::none;  // why the handshake before that one failed
};

}  // namespace vornelle
