#include "platform/random.h"

#include <sys/random.h>
#include <sys/types.h>

#include <cerrno>

namespace vornelle {

bool fillRandom(void* buffer, std::size_t size) {
  auto* at = static_cast<unsigned char*>(buffer);
  while (size > 0) {
    const ssize_t got = getrandom(at, size, 0);
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) return false;
    at += got;
    size -= static_cast<std::size_t>(got);
  }
  return true;
}

}  // namespace vornelle
