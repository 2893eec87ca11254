#include "platform/win32/winsock.h"

namespace vornelle::win32 {

bool startWinsock() {
  static const bool started = [] {
    WSADATA data;
    return WSAStartup(MAKEWORD(2, 2), &data) == 0;
  }();
  return started;
}

Socket makeTcpSocket(int family) {
  if (!startWinsock()) return Socket();
  return Socket(WSASocketW(family, SOCK_STREAM, IPPROTO_TCP, nullptr, 0,
                           WSA_FLAG_OVERLAPPED | WSA_FLAG_NO_HANDLE_INHERIT));
}

}  // namespace vornelle::win32
