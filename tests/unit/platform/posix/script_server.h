// A TCP server of one connection, in a thread of its own, for the blocking streams.
#pragma once

#include <functional>
#include <string>
#include <thread>

#include "tests/unit/platform/posix/loopback.h"

namespace vornelle {

class ScriptServer {
 public:
  // The script gets the accepted connection, a blocking one that it need not close.
  explicit ScriptServer(std::function<void(int)> script) {
    listener_ = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address = loopback(0);
    socklen_t length = sizeof address;
    if (bind(listener_, reinterpret_cast<sockaddr*>(&address), length) != 0 || listen(listener_, 5) != 0)
      return;
    getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &length);
    port = ntohs(address.sin_port);
    thread_ = std::thread([this, script = std::move(script)] {
      const int connection = accept(listener_, nullptr, nullptr);
      if (connection < 0) return;
      script(connection);
      ::close(connection);
    });
  }
  ~ScriptServer() {
    shutdown(listener_, SHUT_RDWR);  // ends a waiting accept()
    if (thread_.joinable()) thread_.join();
    ::close(listener_);
  }
  ScriptServer(const ScriptServer&) = delete;
  ScriptServer& operator=(const ScriptServer&) = delete;

  int port = 0;

 private:
  int listener_ = -1;
  std::thread thread_;
};

inline void sendAll(int connection, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t sent = send(connection, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (sent <= 0) return;
    bytes.remove_prefix(static_cast<std::size_t>(sent));
  }
}

// Reads until the text has come, or the end.
inline std::string readUntil(int connection, std::string_view end) {
  std::string text;
  char byte;
  while (text.find(end) == std::string::npos && recv(connection, &byte, 1, 0) == 1) text += byte;
  return text;
}

inline void waitForEnd(int connection) {
  (void)readUntil(connection, "never sent by any test");
}

}  // namespace vornelle
