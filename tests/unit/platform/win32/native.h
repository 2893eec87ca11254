// What the seam's tests need of Windows beside the seam: sockets, folders, a disk that is full.
#pragma once

#include <winsock2.h>
// After winsock2.h.
#include <windows.h>
#include <ws2tcpip.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "platform/win32/file_time.h"
#include "platform/win32/text.h"

namespace vornelle::native {

using Socket = SOCKET;
inline constexpr Socket kNoSocket = INVALID_SOCKET;
inline constexpr int kStopSending = SD_SEND;

inline const bool kSocketsStarted = [] {
  WSADATA data;
  return WSAStartup(MAKEWORD(2, 2), &data) == 0;
}();

inline void closeSocket(Socket socket) {
  closesocket(socket);
}
// Ends another thread's accept() on it: a connection that says nothing.
inline void closeListener(Socket socket) {
  sockaddr_storage address{};
  int size = sizeof address;
  const Socket caller = ::socket(AF_INET, SOCK_STREAM, IPPROTO_TCP);
  if (getsockname(socket, reinterpret_cast<sockaddr*>(&address), &size) == 0)
    ::connect(caller, reinterpret_cast<const sockaddr*>(&address), size);
  closesocket(caller);
}
inline bool wouldBlock() {
  return WSAGetLastError() == WSAEWOULDBLOCK;
}
inline void neverBlock(Socket socket) {
  u_long on = 1;
  ioctlsocket(socket, static_cast<long>(FIONBIO), &on);
}
inline long receive(Socket socket, char* buffer, std::size_t size) {
  return ::recv(socket, buffer, static_cast<int>(size), 0);
}
inline long send(Socket socket, const char* bytes, std::size_t size, int flags = 0) {
  return ::send(socket, bytes, static_cast<int>(size), flags);
}
// The connection has been reset; what was received before does not hide it. What is sent to a peer that has
// gone is lost, so a test asks this last.
inline bool isReset(Socket socket) {
  return ::send(socket, "?", 1, 0) < 0 && !wouldBlock();
}

// The folder of the program file, as the system knows it.
inline std::filesystem::path programFolder() {
  wchar_t path[MAX_PATH] = {};
  GetModuleFileNameW(nullptr, path, MAX_PATH);
  return std::filesystem::path(path).parent_path();
}
// A path of the seam's.
inline std::filesystem::path toNative(const std::string& path) {
  return win32::widen(path);
}
// A file's name in the program's 8-bit text.
inline std::string fileName(const std::filesystem::path& path) {
  return win32::narrow(path.filename().wstring());
}
// A new, empty folder, as a path of the seam's.
inline std::string makeFolder() {
  static int made = 0;
  const std::filesystem::path folder =
      std::filesystem::temp_directory_path() /
      ("seam-test-" + std::to_string(GetCurrentProcessId()) + "-" + std::to_string(++made));
  return std::filesystem::create_directory(folder) ? win32::narrow(folder.wstring()) : std::string();
}
inline void setModified(const std::filesystem::path& path, std::int64_t milliseconds) {
  const FILETIME time = win32::fileTime(milliseconds);
  const HANDLE file = CreateFileW(path.c_str(), FILE_WRITE_ATTRIBUTES, 0, nullptr, OPEN_EXISTING, 0, nullptr);
  SetFileTime(file, nullptr, nullptr, &time);
  CloseHandle(file);
}

// Processor time that this process has used.
inline std::int64_t processorMilliseconds() {
  FILETIME made, ended, kernel, user;
  if (!GetProcessTimes(GetCurrentProcess(), &made, &ended, &kernel, &user)) return 0;
  const auto ticks = [](const FILETIME& time) {
    return static_cast<std::int64_t>(time.dwHighDateTime) << 32 | time.dwLowDateTime;
  };
  return (ticks(kernel) + ticks(user)) / 10'000;
}

// The clock is that of Central Europe: the test runner sets it for the whole of the run.
class KnownPlace {
 public:
  KnownPlace() = default;
  ~KnownPlace() {}  // has an end, like one that sets something back
  KnownPlace(const KnownPlace&) = delete;
  KnownPlace& operator=(const KnownPlace&) = delete;
};

inline constexpr bool kResetMayLookLikeAnEnd = true;
inline constexpr int kManySockets = 300;
inline constexpr int kLongestLinger = 5000;  // milliseconds

// While it lives nothing can be put in the file's place; the file itself can be written.
class HeldFile {
 public:
  explicit HeldFile(const std::filesystem::path& path)
      : handle_(CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                            OPEN_EXISTING, 0, nullptr)) {}
  ~HeldFile() { CloseHandle(handle_); }
  HeldFile(const HeldFile&) = delete;
  HeldFile& operator=(const HeldFile&) = delete;

 private:
  HANDLE handle_;
};

// No file can grow past limit(): the test runner starts this program so, for the whole of its run.
class FullDisk {
 public:
  FullDisk() = default;
  ~FullDisk() {}  // has an end, like one that frees the disk again
  FullDisk(const FullDisk&) = delete;
  FullDisk& operator=(const FullDisk&) = delete;

  static std::size_t limit() {
    const char* const told = std::getenv("VORNELLE_TEST_FILE_LIMIT");
    return told ? static_cast<std::size_t>(std::atoll(told)) : 0;
  }
};

}  // namespace vornelle::native
