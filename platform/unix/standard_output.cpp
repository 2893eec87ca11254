#include "platform/standard_output.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>

namespace vornelle {

// The descriptor is not made one that never blocks: terminals share that with the shell. Each piece is asked
// for first instead, and a pipe that has room at all has room for PIPE_BUF bytes.
std::size_t writeToStandardOutput(std::string_view bytes) {
  std::size_t taken = 0;
  while (taken < bytes.size()) {
    pollfd look{STDOUT_FILENO, POLLOUT, 0};
    const int ready = poll(&look, 1, 0);
    if (ready < 0 && errno == EINTR) continue;
    if (ready == 0) break;
    const std::size_t piece = std::min<std::size_t>(bytes.size() - taken, PIPE_BUF);
    const ssize_t written = write(STDOUT_FILENO, bytes.data() + taken, piece);
    if (written < 0 && errno == EINTR) continue;
    if (written < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) break;
    if (written <= 0) return bytes.size();
    taken += static_cast<std::size_t>(written);
  }
  return taken;
}

}  // namespace vornelle
