// A plain TCP peer for the tests of the real platform, and waiting by condition.
#pragma once

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <functional>
#include <string>
#include <string_view>

#include "platform/clock.h"
#include "platform/events.h"

namespace vornelle {

// Serves events until the condition holds; false after five seconds.
inline bool eventually(const std::function<bool()>& condition) {
  const std::int64_t end = monotonicMilliseconds() + 5000;
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

// A port that was free a moment ago.
inline int freePort() {
  const int probe = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address = loopback(0);
  socklen_t length = sizeof address;
  int port = 0;
  if (bind(probe, reinterpret_cast<sockaddr*>(&address), length) == 0 &&
      getsockname(probe, reinterpret_cast<sockaddr*>(&address), &length) == 0) {
    port = ntohs(address.sin_port);
  }
  ::close(probe);
  return port;
}

// The other side of a connection. Never blocks.
class Peer {
 public:
  Peer() = default;
  ~Peer() { close(); }
  Peer(const Peer&) = delete;
  Peer& operator=(const Peer&) = delete;

  bool connect(int port, int receiveBuffer = 0) {
    close();
    descriptor_ = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (receiveBuffer > 0)
      setsockopt(descriptor_, SOL_SOCKET, SO_RCVBUF, &receiveBuffer, sizeof receiveBuffer);
    const sockaddr_in address = loopback(port);
    return ::connect(descriptor_, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
  }

  void send(std::string_view bytes) {
    while (!bytes.empty()) {
      const ssize_t sent = ::send(descriptor_, bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
      if (sent <= 0) return;
      bytes.remove_prefix(static_cast<std::size_t>(sent));
    }
  }

  void finishSending() { shutdown(descriptor_, SHUT_WR); }

  void reset() {
    const linger atOnce{1, 0};
    setsockopt(descriptor_, SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce);
    close();
  }

  void close() {
    if (descriptor_ >= 0) ::close(descriptor_);
    descriptor_ = -1;
  }

  // Takes what has arrived.
  const std::string& received() {
    char buffer[4096];
    while (descriptor_ >= 0 && !ended_ && !broken_) {
      const ssize_t got = recv(descriptor_, buffer, sizeof buffer, MSG_DONTWAIT);
      if (got > 0) {
        received_.append(buffer, static_cast<std::size_t>(got));
      } else if (got == 0) {
        ended_ = true;
      } else if (errno != EINTR) {
        broken_ = errno != EAGAIN && errno != EWOULDBLOCK;
        break;
      }
    }
    return received_;
  }
  bool ended() { return (void)received(), ended_; }    // orderly end of the stream
  bool broken() { return (void)received(), broken_; }  // reset

  [[nodiscard]] int descriptor() const { return descriptor_; }

 private:
  int descriptor_ = -1;
  std::string received_;
  bool ended_ = false;
  bool broken_ = false;
};

}  // namespace vornelle
