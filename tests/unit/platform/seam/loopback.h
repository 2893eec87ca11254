// A plain TCP peer for the tests of the real platforms, and waiting by condition.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "native.h"
#include "platform/clock.h"
#include "platform/events.h"
#include "platform/socket.h"

namespace vornelle {

// Serves events until the condition holds; false after five seconds.
inline bool eventually(const std::function<bool()>& condition, int milliseconds = 5000) {
  const std::int64_t end = monotonicMilliseconds() + milliseconds;
  Timer wake(5, true);  // the condition may depend on what is no event
  while (!condition()) {
    if (monotonicMilliseconds() > end) return false;
    waitEvents();
  }
  return true;
}

// Serves events for a while: for what must not happen.
inline void serveFor(int milliseconds) {
  bool over = false;
  Timer timer(milliseconds, true);
  timer.onTick = [&] { over = true; };
  while (!over) waitEvents();
}

inline sockaddr_in loopback(int port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<std::uint16_t>(port));
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  return address;
}

// Takes any free port; 0 when there is none.
inline int bindAnywhere(native::Socket socket) {
  sockaddr_in address = loopback(0);
  socklen_t length = sizeof address;
  if (bind(socket, reinterpret_cast<sockaddr*>(&address), length) != 0) return 0;
  if (getsockname(socket, reinterpret_cast<sockaddr*>(&address), &length) != 0) return 0;
  return ntohs(address.sin_port);
}

// A port that was free a moment ago.
inline int freePort() {
  const native::Socket probe = socket(AF_INET, SOCK_STREAM, 0);
  const int port = bindAnywhere(probe);
  native::closeSocket(probe);
  return port;
}

// A name that is not found without anybody being asked: its label is longer than names may have them.
inline std::string nameOfNobody() {
  return std::string(64, 'x') + ".invalid";
}

// The next close resets the connection.
inline void resetAtClose(native::Socket socket) {
  const linger atOnce{1, 0};
  setsockopt(socket, SOL_SOCKET, SO_LINGER, reinterpret_cast<const char*>(&atOnce), sizeof atOnce);
}

// The other side of a connection. Never blocks.
class Peer {
 public:
  Peer() = default;
  ~Peer() { close(); }
  Peer(const Peer&) = delete;
  Peer& operator=(const Peer&) = delete;

  bool connect(int port, int receiveBuffer = 0, LoopbackAddress to = LoopbackAddress::ipv4) {
    close();
    socket_ = ::socket(to == LoopbackAddress::ipv4 ? AF_INET : AF_INET6, SOCK_STREAM, 0);
    if (receiveBuffer > 0) {
      setsockopt(socket_, SOL_SOCKET, SO_RCVBUF, reinterpret_cast<const char*>(&receiveBuffer),
                 sizeof receiveBuffer);
    }
    const sockaddr_in four = loopback(port);
    sockaddr_in6 six{};
    six.sin6_family = AF_INET6;
    six.sin6_port = four.sin_port;
    six.sin6_addr = in6addr_loopback;
    const bool failed = to == LoopbackAddress::ipv4
                            ? ::connect(socket_, reinterpret_cast<const sockaddr*>(&four), sizeof four) != 0
                            : ::connect(socket_, reinterpret_cast<const sockaddr*>(&six), sizeof six) != 0;
    if (failed) return false;
    native::neverBlock(socket_);
    return true;
  }

  void send(std::string_view bytes) {
    while (!bytes.empty()) {
      const long sent = native::send(socket_, bytes.data(), bytes.size());
      if (sent <= 0) return;
      bytes.remove_prefix(static_cast<std::size_t>(sent));
    }
  }

  void finishSending() { shutdown(socket_, native::kStopSending); }

  void reset() {
    resetAtClose(socket_);
    close();
  }

  void close() {
    if (socket_ != native::kNoSocket) native::closeSocket(socket_);
    socket_ = native::kNoSocket;
  }

  // Takes what has arrived.
  const std::string& received() {
    char buffer[4096];
    while (socket_ != native::kNoSocket && !ended_ && !broken_) {
      const long got = native::receive(socket_, buffer, sizeof buffer);
      if (got > 0) {
        received_.append(buffer, static_cast<std::size_t>(got));
      } else if (got == 0) {
        ended_ = true;
      } else {
        broken_ = !native::wouldBlock();
        break;
      }
    }
    return received_;
  }
  bool ended() { return (void)received(), ended_; }    // orderly end of the stream
  bool broken() { return (void)received(), broken_; }  // reset

  [[nodiscard]] native::Socket socket() const { return socket_; }

 private:
  native::Socket socket_ = native::kNoSocket;
  std::string received_;
  bool ended_ = false;
  bool broken_ = false;
};

}  // namespace vornelle
