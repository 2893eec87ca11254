// The real application folder, without faults of its own making.
#include <unistd.h>

#include <algorithm>
#include <climits>

#include "platform/unix/file_hooks.h"

namespace vornelle::files {

std::string nativeApplicationFolder() {
  static const std::string folder = [] {
    char path[PATH_MAX];
    const ssize_t length = readlink("/proc/self/exe", path, sizeof path);
    std::string program(path, static_cast<std::size_t>(std::max<ssize_t>(length, 0)));
    const std::size_t slash = program.rfind('/');
    return slash == std::string::npos ? std::string() : program.substr(0, slash);
  }();
  return folder;
}

bool writingFails(const std::string& /*path*/) {
  return false;
}
bool readingFails(const std::string& /*path*/) {
  return false;
}
bool replacingFails(const std::string& /*path*/) {
  return false;
}
bool flushingFails(const std::string& /*path*/) {
  return false;
}
bool flushesToDisk() {
  return true;
}

}  // namespace vornelle::files
