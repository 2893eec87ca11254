#include "platform/net_stream.h"

#include <algorithm>
#include <memory>

#include "platform/win32/text.h"
#include "platform/win32/winsock.h"

namespace vornelle {
namespace {

using win32::Socket;

class Deadline {
 public:
  explicit Deadline(int milliseconds)
      : end_(GetTickCount64() + static_cast<ULONGLONG>(std::max(milliseconds, 0))) {}
  [[nodiscard]] DWORD left() const {
    const ULONGLONG now = GetTickCount64();
    return now >= end_ ? 0 : static_cast<DWORD>(end_ - now);
  }

 private:
  ULONGLONG end_;
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
  const DWORD left = deadline.left();
  timeval time{static_cast<long>(left / 1000), static_cast<long>(left % 1000 * 1000)};
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

// One look-up of a name. The system's resolver cannot be told to hurry, so it works aside; one that has not
// answered in time is left to end by itself, and what it worked with lives until then.
struct LookUp {
  std::wstring host;
  std::wstring port;
  ADDRINFOW* addresses = nullptr;
  HANDLE done = CreateEventW(nullptr, TRUE, FALSE, nullptr);

  LookUp() = default;
  ~LookUp() {
    if (addresses) FreeAddrInfoW(addresses);
    if (done) CloseHandle(done);
  }
  LookUp(const LookUp&) = delete;
  LookUp& operator=(const LookUp&) = delete;

  void run() {
    ADDRINFOW hints{};
    hints.ai_family = AF_UNSPEC;
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_protocol = IPPROTO_TCP;
    if (GetAddrInfoW(host.c_str(), port.c_str(), &hints, &addresses) != 0) addresses = nullptr;
    SetEvent(done);
  }
};

DWORD WINAPI runLookUp(void* parameter) {
  const std::unique_ptr<std::shared_ptr<LookUp>> lookUp(static_cast<std::shared_ptr<LookUp>*>(parameter));
  (*lookUp)->run();
  return 0;
}

// Null when the name has no address or the time is up.
std::shared_ptr<LookUp> lookUp(const std::string& host, int port, const Deadline& deadline) {
  auto result = std::make_shared<LookUp>();
  result->host = win32::widen(host);
  result->port = std::to_wstring(port);
  if (!result->done) return nullptr;
  auto parameter = std::make_unique<std::shared_ptr<LookUp>>(result);
  const HANDLE thread = CreateThread(nullptr, 0, runLookUp, parameter.get(), 0, nullptr);
  if (!thread) return nullptr;
  static_cast<void>(parameter.release());  // the thread's own now
  CloseHandle(thread);
  if (WaitForSingleObject(result->done, deadline.left()) != WAIT_OBJECT_0) return nullptr;
  return result->addresses ? result : nullptr;
}

bool connectSocket(const Socket& socket, const ADDRINFOW& address, const Deadline& deadline) {
  u_long nonBlocking = 1;
  if (ioctlsocket(socket.get(), static_cast<long>(FIONBIO), &nonBlocking) != 0) return false;
  if (connect(socket.get(), address.ai_addr, static_cast<int>(address.ai_addrlen)) != 0) {
    if (WSAGetLastError() != WSAEWOULDBLOCK) return false;
    if (!waitSocket(socket.get(), For::writing, deadline)) return false;
  }
  const BOOL on = TRUE;
  setsockopt(socket.get(), IPPROTO_TCP, TCP_NODELAY, reinterpret_cast<const char*>(&on), sizeof on);
  return true;
}

}  // namespace

std::unique_ptr<NetStream> openNetStream(const std::string& host, int port, int timeoutMilliseconds) {
  if (host.empty() || host.find('\0') != std::string::npos || port < 1 || port > 65535 ||
      !win32::startWinsock()) {
    return nullptr;
  }
  const Deadline deadline(timeoutMilliseconds);
  const std::shared_ptr<LookUp> found = lookUp(host, port, deadline);
  for (const ADDRINFOW* address = found ? found->addresses : nullptr; address; address = address->ai_next) {
    if (deadline.left() == 0) break;
    Socket socket = win32::makeTcpSocket(address->ai_family);
    if (socket && connectSocket(socket, *address, deadline))
      return std::make_unique<SocketStream>(std::move(socket));
  }
  return nullptr;
}

}  // namespace vornelle
