// TCP on the loopback interface.
//
// A connection that the program closes lingers: (1) what is unsent is sent as the peer takes it, (2) the
// sending side is shut down, (3) input is read and dropped until the peer closes, because a close with unread
// input would send a reset, and a reset can take the answer out of the peer's hands before it has read it.
// Each step has its limit.
#include "platform/posix/channel.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <linux/sockios.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <unordered_map>

#include "platform/clock.h"
#include "platform/common/channel.h"
#include "platform/common/reading.h"
#include "platform/posix/poller.h"
#include "platform/unix/descriptor.h"

namespace vornelle {
namespace {

constexpr std::int64_t kLongestDrain = 2000;        // milliseconds from the shutdown, when all has arrived
constexpr std::int64_t kLongestStandstill = 30000;  // milliseconds for a peer that takes nothing
constexpr std::size_t kMostDrained = std::size_t{16} * 1024 * 1024;  // bytes
constexpr std::int64_t kAcceptRetry = 100;  // milliseconds, when the system has no room

class TcpConnection;
class TcpListener;

// The usual limit of 1024 descriptors is low for a server.
void raiseDescriptorLimit() {
  constexpr rlim_t kEnough = 65536;
  rlimit limit{};
  if (getrlimit(RLIMIT_NOFILE, &limit) != 0 || limit.rlim_cur >= kEnough) return;
  limit.rlim_cur = std::min(limit.rlim_max, kEnough);
  setrlimit(RLIMIT_NOFILE, &limit);
}

struct Network {
  Network() { raiseDescriptorLimit(); }

  std::unordered_map<TcpConnection*, std::unique_ptr<Connection>> lingering;
  std::optional<std::int64_t> firstDeadline;  // of the lingering ones; may be earlier than the true one
  std::optional<std::int64_t> acceptRetry;
  std::unordered_map<TcpListener*, bool> listeners;  // true: could not accept
  // Given up for a moment to accept, and so get rid of, a connection when the process has no descriptor left.
  Descriptor spare{open("/dev/null", O_RDONLY | O_CLOEXEC)};
};

// Never destroyed: static sockets of the program are torn down after this file's statics.
Network& net() {
  static Network* const instance = new Network;
  return *instance;
}

void setDeadline(std::int64_t time) {
  if (!net().firstDeadline || time < *net().firstDeadline) net().firstDeadline = time;
}

int portOf(int descriptor) {
  sockaddr_storage address{};
  socklen_t length = sizeof address;
  if (getsockname(descriptor, reinterpret_cast<sockaddr*>(&address), &length) != 0) return 0;
  // The port stands at the same place in both kinds of address.
  return ntohs(reinterpret_cast<const sockaddr_in*>(&address)->sin_port);
}

void setOptions(int connection) {
  const int on = 1;
  setsockopt(connection, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
  // Urgent bytes are bytes like any other; outside the stream they would hide what comes after them.
  setsockopt(connection, SOL_SOCKET, SO_OOBINLINE, &on, sizeof on);
}

struct SocketAddress {
  SocketAddress(LoopbackAddress loopback, int port) {
    if (loopback == LoopbackAddress::ipv4) {
      auto* const v4 = reinterpret_cast<sockaddr_in*>(&storage);
      v4->sin_family = AF_INET;
      v4->sin_port = htons(static_cast<std::uint16_t>(port));
      v4->sin_addr.s_addr = htonl(INADDR_LOOPBACK);
      length = sizeof *v4;
    } else {
      auto* const v6 = reinterpret_cast<sockaddr_in6*>(&storage);
      v6->sin6_family = AF_INET6;
      v6->sin6_port = htons(static_cast<std::uint16_t>(port));
      v6->sin6_addr = in6addr_loopback;
      length = sizeof *v6;
    }
  }
  [[nodiscard]] const sockaddr* get() const { return reinterpret_cast<const sockaddr*>(&storage); }

  sockaddr_storage storage{};
  socklen_t length = 0;
};

Descriptor makeSocket(LoopbackAddress address) {
  const int family = address == LoopbackAddress::ipv4 ? AF_INET : AF_INET6;
  return Descriptor(socket(family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
}

class TcpConnection final : public Connection, public Polled {
 public:
  explicit TcpConnection(Descriptor socket) : socket_(std::move(socket)) {
    setOptions(socket_.get());
    if (!watch(socket_.get())) broken_ = true;
  }
  ~TcpConnection() override { unwatch(); }

  [[nodiscard]] int localPort() const override { return portOf(socket_.get()); }

  void happened() override {
    if (lingers_) {
      linger();
    } else {
      tellOwner();
    }
  }

  [[nodiscard]] Peer peer() override {
    if (broken_) return Peer::broken;
    pollfd look{socket_.get(), POLLOUT | POLLRDHUP, 0};
    if (::poll(&look, 1, 0) < 0) look.revents = 0;
    if (look.revents & (POLLERR | POLLHUP)) {
      broken_ = true;
      return Peer::broken;
    }
    return look.revents & POLLRDHUP ? Peer::finished : Peer::open;
  }

  [[nodiscard]] std::size_t waiting() override {
    int bytes = 0;
    return ioctl(socket_.get(), FIONREAD, &bytes) == 0 && bytes > 0 ? static_cast<std::size_t>(bytes) : 0;
  }

  [[nodiscard]] std::string receive(std::size_t most) override {
    const auto receiveSome = [this](char* buffer, std::size_t size) {
      ssize_t got;
      do {
        got = recv(socket_.get(), buffer, size, 0);
      } while (got < 0 && errno == EINTR);
      return static_cast<std::size_t>(std::max<ssize_t>(got, 0));
    };
    return receiveArrived(
        most, [this] { return waiting(); }, receiveSome);
  }

  [[nodiscard]] std::size_t send(std::string_view bytes) override {
    std::size_t sent = 0;
    while (sent < bytes.size() && !broken_) {
      const ssize_t taken = ::send(socket_.get(), bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
      if (taken >= 0) {
        sent += static_cast<std::size_t>(taken);
      } else if (errno == EAGAIN || errno == EWOULDBLOCK || errno == ENOBUFS) {
        break;
      } else if (errno != EINTR) {
        broken_ = true;
      }
    }
    return sent;
  }

  void finish(std::unique_ptr<Connection> self, std::string unsent) override {
    lingers_ = true;
    unsent_ = std::move(unsent);
    lastProgress_ = monotonicMilliseconds();
    net().lingering[this] = std::move(self);
    linger();
  }

  // Goes on with a closed connection; the object may be gone afterwards.
  void linger() {
    const std::int64_t now = monotonicMilliseconds();
    if (!unsent_.empty()) {
      const std::size_t sent = send(unsent_);
      unsent_.erase(0, sent);
      if (sent > 0) lastProgress_ = now;
    }
    if (unsent_.empty() && !shutDown_) {
      shutdown(socket_.get(), SHUT_WR);
      shutDown_ = true;
      lastProgress_ = now;
    }
    const bool peerFinished = drain();
    const std::int64_t deadline =
        lastProgress_ + (shutDown_ && allTaken() ? kLongestDrain : kLongestStandstill);
    if (broken_ || (shutDown_ && peerFinished) || drained_ > kMostDrained || now >= deadline) {
      net().lingering.erase(this);
      return;
    }
    setDeadline(std::min(deadline, now + kLongestDrain));
  }

 private:
  // True when the peer has closed its side and everything before that is read.
  bool drain() {
    std::array<char, 16U << 10> sink;
    while (drained_ <= kMostDrained) {
      const ssize_t got = recv(socket_.get(), sink.data(), sink.size(), 0);
      if (got == 0) return true;
      if (got < 0 && errno == EINTR) continue;
      if (got < 0) {
        if (errno != EAGAIN && errno != EWOULDBLOCK) broken_ = true;
        return false;
      }
      drained_ += static_cast<std::size_t>(got);
    }
    return false;
  }

  // The peer's system has acknowledged everything.
  [[nodiscard]] bool allTaken() const {
    int bytes = 0;
    return ioctl(socket_.get(), SIOCOUTQ, &bytes) != 0 || bytes == 0;
  }

  Descriptor socket_;
  bool broken_ = false;

  bool lingers_ = false;
  bool shutDown_ = false;
  std::string unsent_;
  std::int64_t lastProgress_ = 0;
  std::size_t drained_ = 0;
};

class TcpListener final : public Listener, public Polled {
 public:
  explicit TcpListener(Descriptor socket) : socket_(std::move(socket)) { net().listeners[this] = false; }
  ~TcpListener() override {
    unwatch();
    net().listeners.erase(this);
  }

  [[nodiscard]] bool start() { return watch(socket_.get()); }
  [[nodiscard]] int localPort() const override { return portOf(socket_.get()); }
  void happened() override { tellOwner(); }

  [[nodiscard]] std::unique_ptr<Connection> takeConnection() override {
    while (true) {
      Descriptor accepted(accept4(socket_.get(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC));
      if (accepted.isOpen()) return std::make_unique<TcpConnection>(std::move(accepted));
      if (errno == EAGAIN || errno == EWOULDBLOCK) return nullptr;
      if ((errno == EMFILE || errno == ENFILE) && turnAway()) continue;
      // A connection that has gone before it was accepted, and the like.
      if (errno == ECONNABORTED || errno == EINTR || errno == EPROTO || errno == EPERM) continue;
      net().listeners[this] = true;
      net().acceptRetry = monotonicMilliseconds() + kAcceptRetry;
      return nullptr;
    }
  }

 private:
  // Drops one connection that there is no descriptor for: it would wait without end otherwise.
  [[nodiscard]] bool turnAway() {
    const int reason = errno;
    if (!net().spare.isOpen()) return false;
    net().spare.reset();
    const bool dropped = Descriptor(accept4(socket_.get(), nullptr, nullptr, SOCK_CLOEXEC)).isOpen();
    net().spare = Descriptor(open("/dev/null", O_RDONLY | O_CLOEXEC));
    errno = reason;
    return dropped;
  }

  Descriptor socket_;
};

}  // namespace

std::unique_ptr<Listener> openListener(LoopbackAddress address, int port) {
  (void)net();
  Descriptor socket = makeSocket(address);
  if (!socket.isOpen()) return nullptr;
  const int on = 1;
  setsockopt(socket.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
  if (address == LoopbackAddress::ipv6) setsockopt(socket.get(), IPPROTO_IPV6, IPV6_V6ONLY, &on, sizeof on);
  const SocketAddress local(address, port);
  if (bind(socket.get(), local.get(), local.length) != 0 || ::listen(socket.get(), SOMAXCONN) != 0)
    return nullptr;
  auto listener = std::make_unique<TcpListener>(std::move(socket));
  if (!listener->start()) return nullptr;
  return listener;
}

namespace network {

std::optional<std::int64_t> nextDeadline() {
  const auto& first = net().firstDeadline;
  const auto& retry = net().acceptRetry;
  if (first && retry) return std::min(*first, *retry);
  return first ? first : retry;
}

void tend() {
  const std::int64_t now = monotonicMilliseconds();
  if (net().acceptRetry && *net().acceptRetry <= now) {
    net().acceptRetry.reset();
    for (auto& [listener, waits] : net().listeners) {
      if (waits) listener->happened();
      waits = false;
    }
  }
  if (net().firstDeadline && *net().firstDeadline <= now) {
    net().firstDeadline.reset();
    for (auto next = net().lingering.begin(); next != net().lingering.end();) {
      // linger() may take its own entry out.
      (next++)->first->linger();
    }
  }
}

}  // namespace network
}  // namespace vornelle
