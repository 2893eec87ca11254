// The SMTP client (RFC 5321): one session, from the greeting to QUIT. After a network or protocol error the
// session is dead: every later call fails at once. Where the line is to be encrypted by STARTTLS (RFC 3207),
// nothing is said before that but EHLO and STARTTLS, nothing at all where it fails, and what the server told
// of itself before is forgotten.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "mail/line_stream.h"
#include "mail/mail_connector.h"
#include "mail/mail_failure.h"

namespace vornelle {

class NetStream;

class SmtpClient {
 public:
  SmtpClient(std::unique_ptr<MailConnector> connector, int timeoutMilliseconds);
  ~SmtpClient();  // QUIT, its answer awaited; nothing when the session is dead
  SmtpClient(const SmtpClient&) = delete;
  SmtpClient& operator=(const SmtpClient&) = delete;

  // Connects, waits for the server's greeting and sends EHLO, or HELO where that is refused. To be called
  // first, and once.
  [[nodiscard]] bool greet();

  // AUTH LOGIN: user and password in base64, as they are.
  [[nodiscard]] bool authenticate(std::string_view user, std::string_view password);

  // One message to one recipient. Both addresses are bare ("bob@example.com"); an empty sender is sent as
  // "<>". The text goes out as it is, with dots stuffed and a line end added when it has none at its end.
  // True when the server has taken the message over.
  [[nodiscard]] bool sendMessage(std::string_view sender, std::string_view recipient, std::string_view text);

  // Why the last call failed; what it says after one that did not fail means nothing.
  [[nodiscard]] MailFailure failure() const;

 private:
  struct Reply {
    int code = 0;
    std::string text;  // of all lines, each with LF behind it
    [[nodiscard]] bool positive() const { return code >= 200 && code < 300; }
  };
  void begin(MailStep step);
  bool openLine();
  [[nodiscard]] std::unique_ptr<NetStream> agreedToEncrypt();
  bool introduce();
  std::optional<Reply> readReply();
  std::optional<Reply> ask(const std::string& command);
  bool sendText(std::string_view text);

  std::unique_ptr<MailConnector> connector_;
  int timeout_;
  std::optional<LineStream> line_;  // once there has been a connection
  MailStep step_ = MailStep::none;
  MailFailure failure_;  // where the way to the line has failed
  std::string said_;     // the last line of the server
  std::string secret_;   // what no failure may quote
  bool eightBitMime_ = false;
};

}  // namespace vornelle
