// The shell around a console program: there is little of it.
#include "platform/shell.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdio>
#include <cstdlib>

#include "platform/common/blocking.h"
#include "platform/unix/descriptor.h"
#include "platform/unix/file_hooks.h"

namespace vornelle {
namespace {

enum class Mark { taken, notTaken, impossible };

// A lock on the folder itself needs no file in it, holds for a folder that cannot be written, and ends with
// the process, however that ends.
Mark lockFolder(const Descriptor& folder) {
  if (flock(folder.get(), LOCK_EX | LOCK_NB) == 0) return Mark::taken;
  return errno == EWOULDBLOCK ? Mark::notTaken : Mark::impossible;
}

// For file systems without such locks: a name that the kernel keeps for as long as the process lives.
Mark takeName(const Descriptor& folder, Descriptor& socket) {
  struct stat status;
  if (fstat(folder.get(), &status) != 0) return Mark::impossible;
  socket = Descriptor(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  // The leading NUL of sun_path makes it a name outside every file system.
  const int length = std::snprintf(address.sun_path + 1, sizeof address.sun_path - 1, "vornelle-%llx-%llx",
                                   static_cast<unsigned long long>(status.st_dev),
                                   static_cast<unsigned long long>(status.st_ino));
  const auto size =
      static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + static_cast<std::size_t>(length));
  if (bind(socket.get(), reinterpret_cast<const sockaddr*>(&address), size) == 0) return Mark::taken;
  return errno == EADDRINUSE ? Mark::notTaken : Mark::impossible;
}

bool anotherCopyRuns() {
  // Both stay open until the process ends.
  static Descriptor folder(
      open(files::nativeApplicationFolder().append("/").c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  static Descriptor socket;
  if (!folder.isOpen()) return false;
  Mark mark = lockFolder(folder);
  if (mark == Mark::impossible) mark = takeName(folder, socket);
  return mark == Mark::notTaken;
}

// Runs the program detached, its output thrown away. False when it cannot be started.
bool startDetached(const char* program, const char* argument) {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) return false;
  const Descriptor readEnd(ends[0]);
  Descriptor writeEnd(ends[1]);
  const pid_t child = fork();
  if (child < 0) return false;
  if (child == 0) {
    // The grandchild is nobody's child, so nobody has to wait for it.
    setsid();
    if (fork() == 0) {
      const int nothing = open("/dev/null", O_RDWR);
      for (int standard = 0; standard < 3; ++standard) dup2(nothing, standard);
      signal(SIGPIPE, SIG_DFL);
      if (chdir("/") == 0) execlp(program, program, argument, static_cast<char*>(nullptr));
      const char failed = 1;
      _exit(write(ends[1], &failed, 1) == 1 ? 1 : 2);
    }
    _exit(0);
  }
  writeEnd.reset();
  while (waitpid(child, nullptr, 0) < 0 && errno == EINTR) {
  }
  // The pipe ends without a byte when the program has taken over.
  char byte;
  ssize_t got;
  do {
    got = read(readEnd.get(), &byte, 1);
  } while (got < 0 && errno == EINTR);
  return got == 0;
}

}  // namespace

void beep() {}

void messageBox(const std::string& text, MessageIcon /*icon*/) {
  std::fprintf(stderr, "Vornelle: %s\n", text.c_str());
  std::fflush(stderr);
}

bool previousInstanceRunning() {
  static const bool running = anotherCopyRuns();
  return running;
}

void endProcess() {
  aboutToBlock();  // what is held back is shown now or never
  std::fflush(nullptr);
  _exit(0);
}

bool openInBrowser(const std::string& address) {
  // Only where there is a screen to show it on; and nothing that the opener could take for an option or a
  // file.
  if (!std::getenv("DISPLAY") && !std::getenv("WAYLAND_DISPLAY")) return false;
  if (!address.starts_with("http://") && !address.starts_with("https://")) return false;
  return startDetached("xdg-open", address.c_str());
}

}  // namespace vornelle
