#include "platform/net_stream.h"

#include <algorithm>
#include <memory>
#include <vector>

#include "base/punycode.h"
#include "platform/clock.h"
#include "platform/common/blocking.h"
#include "platform/common/connecting.h"
#include "platform/win32/handle.h"
#include "platform/win32/text.h"
#include "platform/win32/winsock.h"

namespace vornelle {
namespace {

using win32::Socket;

enum class For { reading, writing };

// It has failed also where a connection attempt has.
Waited waitSocket(SOCKET socket, For purpose, std::int64_t until) {
  const bool reads = purpose == For::reading;
  return waitTold(millisecondsUntil(until), [&](std::int64_t milliseconds) {
    fd_set wanted;
    fd_set failed;
    FD_ZERO(&wanted);
    FD_ZERO(&failed);
    FD_SET(socket, &wanted);
    FD_SET(socket, &failed);
    const auto left = static_cast<long>(milliseconds);
    timeval time{left / 1000, left % 1000 * 1000};
    const int count =
        select(0, reads ? &wanted : nullptr, reads ? nullptr : &wanted, reads ? nullptr : &failed, &time);
    if (count == 0) return Waited::timeOver;
    return count > 0 && FD_ISSET(socket, &wanted) ? Waited::come : Waited::failed;
  });
}

class SocketStream : public NetStream {
 public:
  explicit SocketStream(Socket socket) : socket_(std::move(socket)) {}

  std::optional<std::size_t> read(char* buffer, std::size_t size, int timeoutMilliseconds) override {
    const std::int64_t until = monotonicMilliseconds() + timeoutMilliseconds;
    const int most = static_cast<int>(std::min<std::size_t>(size, 1 << 20));
    serveMeanwhileIfDue();
    for (;;) {
      const int got = recv(socket_.get(), buffer, most, 0);
      if (got >= 0) return static_cast<std::size_t>(got);
      if (WSAGetLastError() != WSAEWOULDBLOCK) return std::nullopt;
      if (waitSocket(socket_.get(), For::reading, until) != Waited::come) return std::nullopt;
    }
  }

  bool write(std::string_view bytes, int timeoutMilliseconds) override {
    std::int64_t until = monotonicMilliseconds() + timeoutMilliseconds;
    while (!bytes.empty()) {
      const int most = static_cast<int>(std::min<std::size_t>(bytes.size(), 1 << 20));
      const int sent = ::send(socket_.get(), bytes.data(), most, 0);
      if (sent > 0) {
        bytes.remove_prefix(static_cast<std::size_t>(sent));
        until = monotonicMilliseconds() + timeoutMilliseconds;
        continue;
      }
      if (sent < 0 && WSAGetLastError() != WSAEWOULDBLOCK) return false;
      if (waitSocket(socket_.get(), For::writing, until) != Waited::come) return false;
    }
    return true;
  }

 private:
  Socket socket_;
};

// One look-up of a name, done by the system in its own way; it touches nothing but this.
class LookUp {
 public:
  // Names beyond ASCII go by the form that the name system knows: the one that certificates are asked for.
  LookUp(const std::string& hostName, int portNumber)
      : host_(win32::widen(hostToAscii(hostName).value_or(hostName))), port_(std::to_wstring(portNumber)) {
    hints_.ai_family = AF_UNSPEC;
    hints_.ai_socktype = SOCK_STREAM;
    hints_.ai_protocol = IPPROTO_TCP;
    overlapped_.hEvent = ended_.get();
  }
  ~LookUp() {
    if (addresses_) FreeAddrInfoExW(addresses_);
  }
  LookUp(const LookUp&) = delete;
  LookUp& operator=(const LookUp&) = delete;

  [[nodiscard]] bool finished() const { return win32::waitForEvent(ended_.get(), 0) == Waited::come; }

  [[nodiscard]] Waited run(std::int64_t until) {
    if (!win32::startWinsock()) return Waited::come;  // it brings nothing
    const int started = GetAddrInfoExW(host_.c_str(), port_.c_str(), NS_ALL, nullptr, &hints_, &addresses_,
                                       nullptr, &overlapped_, nullptr, &cancel_);
    if (started != WSA_IO_PENDING) {
      if (started == NO_ERROR) listAddresses();
      return Waited::come;
    }
    const Waited waited = waitTold(millisecondsUntil(until), [this](std::int64_t milliseconds) {
      return win32::waitForEvent(ended_.get(), milliseconds);
    });
    if (waited == Waited::come) {
      if (GetAddrInfoExOverlappedResult(&overlapped_) == NO_ERROR) listAddresses();
    } else if (cancel_) {
      GetAddrInfoExCancel(&cancel_);
    }
    return waited;
  }

  [[nodiscard]] const ADDRINFOW* firstAddress() const { return list_.empty() ? nullptr : list_.data(); }

 private:
  // In the plain form: the compiler's header misspells the type of what the other one is linked by.
  void listAddresses() {
    for (const ADDRINFOEXW* one = addresses_; one; one = reinterpret_cast<const ADDRINFOEXW*>(one->ai_next)) {
      ADDRINFOW address{};
      address.ai_family = one->ai_family;
      address.ai_addr = one->ai_addr;
      address.ai_addrlen = one->ai_addrlen;
      list_.push_back(address);
    }
    for (std::size_t i = 1; i < list_.size(); ++i) list_[i - 1].ai_next = &list_[i];
  }

  std::wstring host_;
  std::wstring port_;
  ADDRINFOEXW hints_{};
  ADDRINFOEXW* addresses_ = nullptr;
  OVERLAPPED overlapped_{};
  HANDLE cancel_ = nullptr;
  win32::Handle ended_{CreateEventW(nullptr, TRUE, FALSE, nullptr)};
  std::vector<ADDRINFOW> list_;
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

bool connectSocket(const Socket& socket, const ADDRINFOW& address, std::int64_t until, NetProblem& problem) {
  const auto fail = [&problem](NetProblem why) {
    problem = std::max(problem, why);
    return false;
  };
  u_long nonBlocking = 1;
  if (ioctlsocket(socket.get(), static_cast<long>(FIONBIO), &nonBlocking) != 0)
    return fail(NetProblem::unreachable);
  if (connect(socket.get(), address.ai_addr, static_cast<int>(address.ai_addrlen)) != 0) {
    if (const int error = WSAGetLastError(); error != WSAEWOULDBLOCK) return fail(problemOf(error));
    const Waited waited = waitSocket(socket.get(), For::writing, until);
    if (waited != Waited::come) {
      const int error = attemptError(socket);
      return fail(error != 0 ? problemOf(error) : problemOfWait(waited));
    }
  }
  const BOOL on = TRUE;
  setsockopt(socket.get(), IPPROTO_TCP, TCP_NODELAY, reinterpret_cast<const char*>(&on), sizeof on);
  return true;
}

}  // namespace

std::unique_ptr<NetStream> openNetStream(const std::string& host, int port, int timeoutMilliseconds,
                                         NetProblem* problem) {
  const auto connect = [](const ADDRINFOW& address, std::int64_t until,
                          NetProblem& why) -> std::unique_ptr<NetStream> {
    Socket socket = win32::makeTcpSocket(address.ai_family);
    if (!socket) why = std::max(why, NetProblem::unreachable);
    if (!socket || !connectSocket(socket, address, until, why)) return nullptr;
    return std::make_unique<SocketStream>(std::move(socket));
  };
  return connectByName<LookUp>(host, port, timeoutMilliseconds, problem, connect);
}

}  // namespace vornelle
