// A TCP server of one connection, in a thread of its own, for the blocking streams.
#pragma once

#include <functional>
#include <string>
#include <thread>

#include "tests/unit/platform/seam/loopback.h"

namespace vornelle {

class ScriptServer {
 public:
  // The script gets the accepted connection, a blocking one that it need not close.
  explicit ScriptServer(std::function<void(native::Socket)> script) {
    listener_ = socket(AF_INET, SOCK_STREAM, 0);
    port = bindAnywhere(listener_);
    if (port == 0 || listen(listener_, 5) != 0) return;
    thread_ = std::thread([this, script = std::move(script)] {
      const native::Socket connection = accept(listener_, nullptr, nullptr);
      if (connection == native::kNoSocket) return;
      script(connection);
      native::closeSocket(connection);
    });
  }
  ~ScriptServer() {
    native::closeListener(listener_);
    if (thread_.joinable()) thread_.join();
    native::closeSocket(listener_);
  }
  ScriptServer(const ScriptServer&) = delete;
  ScriptServer& operator=(const ScriptServer&) = delete;

  int port = 0;

 private:
  native::Socket listener_ = native::kNoSocket;
  std::thread thread_;
};

// False when the peer has gone.
inline bool sendAll(native::Socket connection, std::string_view bytes) {
  while (!bytes.empty()) {
    const long sent = native::send(connection, bytes.data(), bytes.size());
    if (sent <= 0) return false;
    bytes.remove_prefix(static_cast<std::size_t>(sent));
  }
  return true;
}

// Reads until the text has come, or the end.
inline std::string readUntil(native::Socket connection, std::string_view end) {
  std::string text;
  char byte;
  while (text.find(end) == std::string::npos && native::receive(connection, &byte, 1) == 1) text += byte;
  return text;
}

inline void waitForEnd(native::Socket connection) {
  (void)readUntil(connection, "never sent by any test");
}

}  // namespace vornelle
