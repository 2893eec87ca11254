// Connections and listeners over Windows sockets. The system posts a message to the hidden window when
// something about a socket changes; the message is only a hint to look again, except that the end of the
// peer's stream is noted when it is reported.
//
// A connection that is finished lives on in a list of its own: it sends what is left, tells the peer that
// nothing more comes, and reads and drops what the peer still sends until that ends too. Closing a socket
// with unread bytes would reset the connection, and the peer would lose the answer.
#include "platform/common/channel.h"

#include <algorithm>
#include <list>
#include <map>
#include <utility>
#include <vector>

#include "platform/common/reading.h"
#include "platform/events.h"
#include "platform/win32/event_loop.h"
#include "platform/win32/winsock.h"

namespace vornelle {
namespace {

using win32::Socket;

constexpr long kConnectionEvents = FD_READ | FD_WRITE | FD_CLOSE;
constexpr ULONGLONG kLongestDrain = 5000;        // milliseconds, when all has been handed to the system
constexpr ULONGLONG kLongestStandstill = 30000;  // milliseconds for a peer that takes nothing
constexpr std::size_t kMostDrained = std::size_t{16} * 1024 * 1024;  // bytes
constexpr int kLingerLookInterval = 1000;
constexpr int kMostBytesAtOnce = 1 << 20;

class WatchedSocket;
class TcpConnection;

struct Channels {
  std::map<UINT, WatchedSocket*> byMessage;
  std::list<std::unique_ptr<TcpConnection>> finishing;
  UINT lastMessage = win32::kLastSocketMessage;
};

// Never destroyed: static sockets outlive this file's statics.
Channels& channels() {
  static Channels* const instance = new Channels;
  return *instance;
}

UINT unusedMessage() {
  Channels& all = channels();
  do {
    all.lastMessage =
        all.lastMessage == win32::kLastSocketMessage ? win32::kFirstSocketMessage : all.lastMessage + 1;
  } while (all.byMessage.contains(all.lastMessage));
  return all.lastMessage;
}

// A socket about which the system posts messages, of a number of its own.
class WatchedSocket {
 public:
  explicit WatchedSocket(Socket socket) : socket_(std::move(socket)), message_(unusedMessage()) {
    channels().byMessage.emplace(message_, this);
  }
  virtual ~WatchedSocket() { channels().byMessage.erase(message_); }
  WatchedSocket(const WatchedSocket&) = delete;
  WatchedSocket& operator=(const WatchedSocket&) = delete;

  // The system's message. The object may be gone afterwards.
  virtual void note(int event, int error) = 0;

 protected:
  [[nodiscard]] SOCKET handle() const { return socket_.get(); }

  // Also makes the socket one that never blocks.
  bool askForMessages(long events) {
    return WSAAsyncSelect(handle(), win32::eventWindow(), message_, events) == 0;
  }

  void switchOn(int level, int option) {
    const BOOL on = TRUE;
    setsockopt(handle(), level, option, reinterpret_cast<const char*>(&on), sizeof on);
  }

  [[nodiscard]] int portOfSocket() const {
    sockaddr_storage address{};
    int size = sizeof address;
    if (getsockname(handle(), reinterpret_cast<sockaddr*>(&address), &size) != 0) return 0;
    // The port stands in the same place in both kinds of address.
    return ntohs(reinterpret_cast<const sockaddr_in*>(&address)->sin_port);
  }

 private:
  Socket socket_;
  UINT message_;
};

class TcpConnection final : public Connection, public WatchedSocket {
 public:
  explicit TcpConnection(Socket socket) : WatchedSocket(std::move(socket)) {
    if (!askForMessages(kConnectionEvents)) peer_ = Peer::broken;
    switchOn(IPPROTO_TCP, TCP_NODELAY);
    // Urgent bytes are bytes like any other; outside the stream they would hide what comes after them.
    switchOn(SOL_SOCKET, SO_OOBINLINE);
  }

  [[nodiscard]] int localPort() const override { return portOfSocket(); }

  [[nodiscard]] Peer peer() override {
    // The end of the stream shows only once everything before it has been read. A reset may have been
    // reported as an end.
    if (peer_ == Peer::broken || waiting() > 0) return peer_;
    char byte;
    const int got = recv(handle(), &byte, 1, MSG_PEEK);
    if (got == 0) peer_ = Peer::finished;
    if (got < 0 && WSAGetLastError() != WSAEWOULDBLOCK) peer_ = Peer::broken;
    return peer_;
  }

  [[nodiscard]] std::size_t waiting() override {
    u_long size = 0;
    return ioctlsocket(handle(), FIONREAD, &size) == 0 ? size : 0;
  }

  [[nodiscard]] std::string receive(std::size_t most) override {
    const auto receiveSome = [this](char* buffer, std::size_t size) {
      const int got = recv(handle(), buffer, static_cast<int>(size), 0);
      if (got == 0) peer_ = Peer::finished;
      if (got < 0 && WSAGetLastError() != WSAEWOULDBLOCK) peer_ = Peer::broken;
      return static_cast<std::size_t>(std::max(got, 0));
    };
    return receiveArrived(
        most, [this] { return waiting(); }, receiveSome);
  }

  [[nodiscard]] std::size_t send(std::string_view bytes) override {
    if (bytes.empty() || peer_ == Peer::broken) return 0;
    const int size = static_cast<int>(std::min<std::size_t>(bytes.size(), kMostBytesAtOnce));
    const int sent = ::send(handle(), bytes.data(), size, 0);
    if (sent >= 0) return static_cast<std::size_t>(sent);
    if (WSAGetLastError() != WSAEWOULDBLOCK) peer_ = Peer::broken;
    return 0;
  }

  void finish(std::unique_ptr<Connection> self, std::string unsent) override;

  // Bytes that the peer sent before it finished stay readable.
  void note(int event, int error) override;

  // One step of the way to the end of a finished connection; false at its end.
  [[nodiscard]] bool finishFurther();

 private:
  Peer peer_ = Peer::open;
  bool finishing_ = false;
  std::string unsent_;
  bool shutDown_ = false;
  ULONGLONG progress_ = 0;  // when bytes last went out, or the end of the stream
  std::size_t drained_ = 0;
};

class TcpListener final : public Listener, public WatchedSocket {
 public:
  explicit TcpListener(Socket socket) : WatchedSocket(std::move(socket)) {}

  [[nodiscard]] bool start() { return askForMessages(FD_ACCEPT); }
  [[nodiscard]] int localPort() const override { return portOfSocket(); }
  void note(int /*event*/, int /*error*/) override { tellOwner(); }

  [[nodiscard]] std::unique_ptr<Connection> takeConnection() override {
    SOCKET accepted;
    do {
      accepted = ::accept(handle(), nullptr, nullptr);
      // One that has gone before it was accepted hides none that stands behind it.
    } while (accepted == INVALID_SOCKET && WSAGetLastError() == WSAECONNRESET);
    Socket connection(accepted);
    if (!connection) {
      // Wine can report a connection that has already been taken, and reports no other before a connection is
      // taken again. Asking anew reports those that wait.
      askForMessages(FD_ACCEPT);
      return nullptr;
    }
    SetHandleInformation(reinterpret_cast<HANDLE>(connection.get()), HANDLE_FLAG_INHERIT, 0);
    return std::make_unique<TcpConnection>(std::move(connection));
  }
};

// Drops the finished connections whose peer neither reads nor ends.
void dropStalled();

Timer& lingerTimer() {
  static Timer* const timer = [] {
    auto* made = new Timer(kLingerLookInterval, false);
    made->onTick = dropStalled;
    return made;
  }();
  return *timer;
}

void TcpConnection::finish(std::unique_ptr<Connection> self, std::string unsent) {
  finishing_ = true;
  unsent_ = std::move(unsent);
  progress_ = GetTickCount64();
  if (!finishFurther()) return;
  // The one who calls holds this very connection.
  channels().finishing.emplace_back(static_cast<TcpConnection*>(self.release()));
  lingerTimer().setEnabled(true);
}

bool TcpConnection::finishFurther() {
  while (!unsent_.empty()) {
    const std::size_t sent = send(unsent_);
    if (sent == 0) break;
    progress_ = GetTickCount64();
    unsent_.erase(0, sent);
  }
  if (unsent_.empty() && !shutDown_) {
    ::shutdown(handle(), SD_SEND);
    shutDown_ = true;
    progress_ = GetTickCount64();
  }
  // A peer that goes on sending gets neither the thread nor the connection for ever.
  drained_ += receive(kMostDrained + 1).size();
  if (drained_ > kMostDrained) return false;
  if (progress_ + (shutDown_ ? kLongestDrain : kLongestStandstill) < GetTickCount64()) return false;
  const Peer now = peer();
  return now == Peer::open || (now == Peer::finished && !unsent_.empty());
}

void dropFinished(TcpConnection* connection) {
  std::erase_if(channels().finishing, [connection](const auto& entry) { return entry.get() == connection; });
  if (channels().finishing.empty()) lingerTimer().setEnabled(false);
}

void dropStalled() {
  std::vector<TcpConnection*> ended;
  for (const auto& entry : channels().finishing) {
    if (!entry->finishFurther()) ended.push_back(entry.get());
  }
  for (TcpConnection* connection : ended) dropFinished(connection);
}

void TcpConnection::note(int event, int error) {
  if (event == FD_CLOSE) peer_ = error == 0 ? Peer::finished : Peer::broken;
  if (!finishing_) {
    tellOwner();
  } else if (!finishFurther()) {
    dropFinished(this);
  }
}

struct LoopbackName {
  sockaddr_storage address{};
  int size = 0;
};

LoopbackName loopbackName(LoopbackAddress address, int port) {
  LoopbackName name;
  if (address == LoopbackAddress::ipv4) {
    auto* const v4 = reinterpret_cast<sockaddr_in*>(&name.address);
    v4->sin_family = AF_INET;
    v4->sin_port = htons(static_cast<u_short>(port));
    v4->sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    name.size = sizeof *v4;
  } else {
    auto* const v6 = reinterpret_cast<sockaddr_in6*>(&name.address);
    v6->sin6_family = AF_INET6;
    v6->sin6_port = htons(static_cast<u_short>(port));
    v6->sin6_addr.s6_addr[15] = 1;
    name.size = sizeof *v6;
  }
  return name;
}

}  // namespace

std::unique_ptr<Listener> openListener(LoopbackAddress address, int port) {
  Socket socket = win32::makeTcpSocket(address == LoopbackAddress::ipv4 ? AF_INET : AF_INET6);
  if (!socket) return nullptr;
  // Without it another program could bind the same port and take connections away.
  const BOOL on = TRUE;
  setsockopt(socket.get(), SOL_SOCKET, SO_EXCLUSIVEADDRUSE, reinterpret_cast<const char*>(&on), sizeof on);
  const LoopbackName name = loopbackName(address, port);
  if (bind(socket.get(), reinterpret_cast<const sockaddr*>(&name.address), name.size) != 0) return nullptr;
  if (listen(socket.get(), SOMAXCONN) != 0) return nullptr;
  auto listener = std::make_unique<TcpListener>(std::move(socket));
  if (!listener->start()) return nullptr;
  return listener;
}

void win32::socketMessage(UINT message, int event, int error) {
  const auto found = channels().byMessage.find(message);
  if (found == channels().byMessage.end()) return;  // closed while the message was on its way
  found->second->note(event, error);
}

}  // namespace vornelle
