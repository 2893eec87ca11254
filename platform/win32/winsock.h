// The system's socket library, started on first use, and a socket that closes itself.
#pragma once

#include <winsock2.h>
// After winsock2.h.
#include <windows.h>
#include <ws2tcpip.h>

#include <utility>

// Of the system's library, and not in the headers of every compiler.
extern "C" {
WINSOCK_API_LINKAGE int WSAAPI GetAddrInfoExOverlappedResult(LPOVERLAPPED overlapped);
WINSOCK_API_LINKAGE int WSAAPI GetAddrInfoExCancel(LPHANDLE handle);
}

namespace vornelle::win32 {

// False where the library cannot be started; then no socket can be made.
bool startWinsock();

class Socket {
 public:
  explicit Socket(SOCKET handle = INVALID_SOCKET) : handle_(handle) {}
  ~Socket() {
    if (handle_ != INVALID_SOCKET) closesocket(handle_);
  }
  Socket(Socket&& other) noexcept : handle_(std::exchange(other.handle_, INVALID_SOCKET)) {}
  Socket& operator=(Socket&&) = delete;

  explicit operator bool() const { return handle_ != INVALID_SOCKET; }
  [[nodiscard]] SOCKET get() const { return handle_; }

 private:
  SOCKET handle_;
};

// A TCP socket that programs started by this one do not inherit.
[[nodiscard]] Socket makeTcpSocket(int family);

}  // namespace vornelle::win32
