// The SMTP client (RFC 5321): one session, from the greeting to QUIT. After a network or protocol error the
// session is dead: every later call fails at once.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "mail/line_stream.h"

namespace vornelle {

class NetStream;

class SmtpClient {
 public:
  using Connector = std::function<std::unique_ptr<NetStream>()>;  // null: no connection

  SmtpClient(const Connector& connector, int timeoutMilliseconds);
  ~SmtpClient();  // QUIT, its answer awaited; nothing when the session is dead
  SmtpClient(const SmtpClient&) = delete;
  SmtpClient& operator=(const SmtpClient&) = delete;

  // Waits for the server's greeting and sends EHLO, or HELO where that is refused. To be called first, and
  // once.
  [[nodiscard]] bool greet();

  // AUTH LOGIN: user and password in base64, as they are.
  [[nodiscard]] bool authenticate(std::string_view user, std::string_view password);

  // One message to one recipient. Both addresses are bare ("bob@example.com"); an empty sender is sent as
  // "<>". The text goes out as it is, with dots stuffed and a line end added when it has none at its end.
  // True when the server has taken the message over.
  [[nodiscard]] bool sendMessage(std::string_view sender, std::string_view recipient, std::string_view text);

 private:
  struct Reply {
    int code = 0;
    std::string text;  // of all lines, each with LF behind it
    [[nodiscard]] bool positive() const { return code >= 200 && code < 300; }
  };
  std::optional<Reply> readReply();
  std::optional<Reply> ask(const std::string& command);
  bool sendText(std::string_view text);

  LineStream line_;
  bool eightBitMime_ = false;
};

}  // namespace vornelle
