#include "platform/net_stream.h"

#include <algorithm>
#include <memory>

#include "base/numbers.h"
#include "platform/clock.h"
#include "platform/common/connecting.h"
#include "platform/win32/text.h"
#include "platform/win32/winsock.h"

namespace vornelle {
namespace {

using win32::Socket;

class Deadline {
 public:
  explicit Deadline(int milliseconds) : end_(monotonicMilliseconds() + milliseconds) {}
  // At a time of monotonicMilliseconds().
  static Deadline at(std::int64_t time) {
    Deadline deadline(0);
    deadline.end_ = time;
    return deadline;
  }
  [[nodiscard]] long left() const {
    return static_cast<long>(std::max<std::int64_t>(end_ - monotonicMilliseconds(), 0));
  }

 private:
  std::int64_t end_;
};

enum class For { reading, writing };

// False on time-out or a failed connection attempt.
bool waitSocket(SOCKET socket, For purpose, const Deadline& deadline) {
  fd_set wanted;
  fd_set failed;
  FD_ZERO(&wanted);
  FD_ZERO(&failed);
  FD_SET(socket, &wanted);
  FD_SET(socket, &failed);
  const long left = deadline.left();
  timeval time{left / 1000, left % 1000 * 1000};
  const bool reads = purpose == For::reading;
  const int ready =
      select(0, reads ? &wanted : nullptr, reads ? nullptr : &wanted, reads ? nullptr : &failed, &time);
  return ready > 0 && FD_ISSET(socket, &wanted);
}

class SocketStream : public NetStream {
 public:
  explicit SocketStream(Socket socket) : socket_(std::move(socket)) {}

  std::optional<std::size_t> read(char* buffer, std::size_t size, int timeoutMilliseconds) override {
    const Deadline deadline(timeoutMilliseconds);
    const int most = static_cast<int>(std::min<std::size_t>(size, 1 << 20));
    for (;;) {
      const int got = recv(socket_.get(), buffer, most, 0);
      if (got >= 0) return static_cast<std::size_t>(got);
      if (WSAGetLastError() != WSAEWOULDBLOCK) return std::nullopt;
      if (!waitSocket(socket_.get(), For::reading, deadline)) return std::nullopt;
    }
  }

  bool write(std::string_view bytes, int timeoutMilliseconds) override {
    while (!bytes.empty()) {
      const int most = static_cast<int>(std::min<std::size_t>(bytes.size(), 1 << 20));
      const int sent = ::send(socket_.get(), bytes.data(), most, 0);
      if (sent > 0) {
        bytes.remove_prefix(static_cast<std::size_t>(sent));
        continue;
      }
      if (sent < 0 && WSAGetLastError() != WSAEWOULDBLOCK) return false;
      if (!waitSocket(socket_.get(), For::writing, Deadline(timeoutMilliseconds))) return false;
    }
    return true;
  }

 private:
  Socket socket_;
};

// One look-up of a name.
struct LookUp {
  std::wstring host;
  std::wstring port;
  ADDRINFOW* addresses = nullptr;

  LookUp(const std::string& hostName, int portNumber)
      : host(win32::widen(hostName)), port(std::to_wstring(portNumber)) {}
  ~LookUp() {
    if (addresses) FreeAddrInfoW(addresses);
  }
  LookUp(const LookUp&) = delete;
  LookUp& operator=(const LookUp&) = delete;

  void run() {
    ADDRINFOW hints{};
    hints.ai_family = AF_UNSPEC;
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_protocol = IPPROTO_TCP;
    if (GetAddrInfoW(host.c_str(), port.c_str(), &hints, &addresses) != 0) addresses = nullptr;
  }
};

NetProblem problemOf(int error) {
  if (error == WSAECONNREFUSED) return NetProblem::refused;
  return error == WSAETIMEDOUT ? NetProblem::timedOut : NetProblem::unreachable;
}

// The system's own word on a connection attempt that has ended; 0 while it goes on.
int attemptError(const Socket& socket) {
  int error = 0;
  int length = sizeof error;
  getsockopt(socket.get(), SOL_SOCKET, SO_ERROR, reinterpret_cast<char*>(&error), &length);
  return error;
}

bool connectSocket(const Socket& socket, const ADDRINFOW& address, const Deadline& deadline,
                   NetProblem& problem) {
  const auto fail = [&problem](NetProblem why) {
    problem = std::max(problem, why);
    return false;
  };
  u_long nonBlocking = 1;
  if (ioctlsocket(socket.get(), static_cast<long>(FIONBIO), &nonBlocking) != 0)
    return fail(NetProblem::unreachable);
  if (connect(socket.get(), address.ai_addr, static_cast<int>(address.ai_addrlen)) != 0) {
    if (const int error = WSAGetLastError(); error != WSAEWOULDBLOCK) return fail(problemOf(error));
    if (!waitSocket(socket.get(), For::writing, deadline)) {
      const int error = attemptError(socket);
      return fail(error != 0 ? problemOf(error) : NetProblem::timedOut);
    }
  }
  const BOOL on = TRUE;
  setsockopt(socket.get(), IPPROTO_TCP, TCP_NODELAY, reinterpret_cast<const char*>(&on), sizeof on);
  return true;
}

}  // namespace

std::unique_ptr<NetStream> openNetStream(const std::string& host, int port, int timeoutMilliseconds,
                                         NetProblem* problem) {
  NetProblem ignored = NetProblem::none;
  NetProblem& why = problem ? *problem : ignored;
  why = NetProblem::nameNotFound;
  if (host.empty() || host.find('\0') != std::string::npos || !isPort(port) || !win32::startWinsock()) {
    return nullptr;
  }
  const std::int64_t end = monotonicMilliseconds() + timeoutMilliseconds;
  const auto lookUp = std::make_shared<LookUp>(host, port);
  if (!doneInTime([lookUp] { lookUp->run(); }, end)) {
    why = NetProblem::timedOut;
    return nullptr;
  }
  if (lookUp->addresses) why = NetProblem::none;
  return connectInTurn(lookUp->addresses, end,
                       [&why](const ADDRINFOW& address, std::int64_t until) -> std::unique_ptr<NetStream> {
                         Socket socket = win32::makeTcpSocket(address.ai_family);
                         if (!socket) why = std::max(why, NetProblem::unreachable);
                         if (!socket || !connectSocket(socket, address, Deadline::at(until), why))
                           return nullptr;
                         return std::make_unique<SocketStream>(std::move(socket));
                       });
}

}  // namespace vornelle
