// What the seam's tests need of a POSIX system beside the seam: sockets, folders, a disk that is full.
#pragma once

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <string>
#include <system_error>

#include "base/hash.h"
#include "platform/common/temporary_name.h"

namespace vornelle::native {

using Socket = int;
inline constexpr Socket kNoSocket = -1;
inline constexpr int kStopSending = SHUT_WR;

inline void closeSocket(Socket socket) {
  ::close(socket);
}
// Ends another thread's accept() on it.
inline void closeListener(Socket socket) {
  shutdown(socket, SHUT_RDWR);
}
inline bool wouldBlock() {
  return errno == EAGAIN || errno == EWOULDBLOCK;
}
inline void neverBlock(Socket socket) {
  fcntl(socket, F_SETFL, fcntl(socket, F_GETFL) | O_NONBLOCK);
}
inline long receive(Socket socket, char* buffer, std::size_t size) {
  ssize_t got;
  do {
    got = ::recv(socket, buffer, size, 0);
  } while (got < 0 && errno == EINTR);
  return got;
}
inline long send(Socket socket, const char* bytes, std::size_t size, int flags = 0) {
  return ::send(socket, bytes, size, flags | MSG_NOSIGNAL);
}
// The connection has been reset; what was received before does not hide it.
inline bool isReset(Socket socket) {
  pollfd look{socket, POLLOUT, 0};
  return ::poll(&look, 1, 0) > 0 && (look.revents & (POLLERR | POLLHUP));
}

// The folder of the program file, as the system knows it.
inline std::filesystem::path programFolder() {
  return std::filesystem::read_symlink("/proc/self/exe").parent_path();
}
// A path of the seam's.
inline std::filesystem::path toNative(std::string path) {
  std::replace(path.begin(), path.end(), '\\', '/');
  return path;
}
// A file's name in the program's 8-bit text.
inline std::string fileName(const std::filesystem::path& path) {
  return path.filename();
}
// A new, empty folder, as a path of the seam's.
inline std::string makeFolder() {
  std::string pattern = (std::filesystem::temp_directory_path() / "seam-test-XXXXXX").string();
  if (!mkdtemp(pattern.data())) return {};
  std::replace(pattern.begin(), pattern.end(), '/', '\\');
  return pattern;
}
inline void setModified(const std::filesystem::path& path, std::int64_t milliseconds) {
  timespec time{};
  time.tv_sec = static_cast<std::time_t>(milliseconds / 1000);
  time.tv_nsec = static_cast<long>(milliseconds % 1000 * 1000000);
  const timespec times[2] = {time, time};
  utimensat(AT_FDCWD, path.c_str(), times, 0);
}

// Processor time that this process has used.
inline std::int64_t processorMilliseconds() {
  return static_cast<std::int64_t>(std::clock()) * 1000 / CLOCKS_PER_SEC;
}

// While it lives the clock is that of Central Europe, and the halves of the day are AM and PM.
class KnownPlace {
 public:
  KnownPlace() {
    setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1);
    setenv("LC_ALL", "C", 1);
  }
  ~KnownPlace() {
    unsetenv("LC_ALL");
    unsetenv("TZ");
    tzset();
  }
  KnownPlace(const KnownPlace&) = delete;
  KnownPlace& operator=(const KnownPlace&) = delete;
};

inline constexpr bool kResetMayLookLikeAnEnd = false;
inline constexpr int kManySockets = 2000;
inline constexpr int kLongestLinger = 2000;  // milliseconds

// While it lives nothing can be put in the file's place; the file itself can be written.
class HeldFile {
 public:
  explicit HeldFile(const std::filesystem::path& path)
      : inTheWay_(path.parent_path() / files::temporaryName(fnv1a<char>(path.filename().string()))) {
    std::filesystem::create_directory(inTheWay_);
  }
  ~HeldFile() {
    std::error_code ignored;
    std::filesystem::remove(inTheWay_, ignored);
  }
  HeldFile(const HeldFile&) = delete;
  HeldFile& operator=(const HeldFile&) = delete;

 private:
  std::filesystem::path inTheWay_;
};

// No file can grow past limit() while it lives, as on a full disk.
class FullDisk {
 public:
  FullDisk() : FullDisk(limit()) {}
  explicit FullDisk(rlim_t bytes) {
    signal(SIGXFSZ, SIG_IGN);
    getrlimit(RLIMIT_FSIZE, &old_);
    const rlimit low{bytes, old_.rlim_max};
    setrlimit(RLIMIT_FSIZE, &low);
  }
  ~FullDisk() {
    setrlimit(RLIMIT_FSIZE, &old_);
    signal(SIGXFSZ, SIG_DFL);
  }
  FullDisk(const FullDisk&) = delete;
  FullDisk& operator=(const FullDisk&) = delete;

  static std::size_t limit() { return 1000; }

 private:
  rlimit old_{};
};

}  // namespace vornelle::native
