// Flushing many files at once. A disk takes as long for one flush as for several that are asked for at the
// same time, so they are asked for from several threads. These touch nothing but the descriptors of the
// files.
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstddef>
#include <functional>
#include <map>
#include <system_error>
#include <thread>
#include <utility>

#include "platform/files.h"
#include "platform/unix/file_hooks.h"
#include "platform/unix/paths.h"

namespace vornelle {
namespace {

// Four are as fast as sixty-four.
constexpr std::size_t kThreads = 4;

// Opens, flushes and closes.
bool flushPath(const std::string& native, int flags) {
  const int descriptor = open(native.c_str(), flags | O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  if (descriptor < 0) return false;
  // Some file systems cannot do it for folders, and say so with EINVAL.
  const bool flushed =
      !files::flushesToDisk() || fsync(descriptor) == 0 || ((flags & O_DIRECTORY) != 0 && errno == EINVAL);
  return close(descriptor) == 0 && flushed;
}

// Runs `work` in every thread that can be had, the calling one among them.
void inThreads(std::size_t count, const std::function<void()>& work) {
  std::vector<std::thread> threads;
  try {
    while (threads.size() + 1 < count) threads.emplace_back(work);
  } catch (const std::system_error&) {
    // Then with fewer.
  }
  work();
  for (std::thread& thread : threads) thread.join();
}

}  // namespace

std::vector<bool> flushFiles(const std::vector<std::string>& paths) {
  std::vector<std::string> natives;
  natives.reserve(paths.size());
  for (const std::string& path : paths)
    natives.push_back(files::flushingFails(path) ? "" : files::nativePath(path).value_or(""));

  std::vector<char> flushed(paths.size(), 0);  // no bits, which threads would share
  std::atomic<std::size_t> next = 0;
  inThreads(std::min(kThreads, paths.size()), [&] {
    for (std::size_t at = next++; at < natives.size(); at = next++)
      flushed[at] = !natives[at].empty() && flushPath(natives[at], 0) ? 1 : 0;
  });

  std::map<std::string, bool> folders;
  std::vector<bool> result;
  for (std::size_t at = 0; at < natives.size(); ++at) {
    const std::string folder = natives[at].substr(0, natives[at].rfind('/') + 1);
    if (flushed[at] != 0 && !folders.contains(folder)) folders[folder] = flushPath(folder, O_DIRECTORY);
    result.push_back(flushed[at] != 0 && folders[folder]);
  }
  return result;
}

}  // namespace vornelle
