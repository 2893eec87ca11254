// Flushing many files at once. A disk takes as long for one flush as for several that are asked for at the
// same time, so the system is asked for all of them with its asynchronous calls (POSIX aio_fsync) and they
// are waited for together.
#include <aio.h>
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <deque>
#include <map>
#include <memory>
#include <utility>

#include "platform/files.h"
#include "platform/unix/file_hooks.h"
#include "platform/unix/paths.h"

namespace vornelle {
namespace {

// Opens, flushes and closes.
bool flushPath(const std::string& native, int flags) {
  const int descriptor = open(native.c_str(), flags | O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  if (descriptor < 0) return false;
  // Some file systems cannot do it for folders, and say so with EINVAL.
  const bool flushed =
      !files::flushesToDisk() || fsync(descriptor) == 0 || ((flags & O_DIRECTORY) != 0 && errno == EINVAL);
  return close(descriptor) == 0 && flushed;
}

// A file that is being flushed.
class Flush {
 public:
  // "" and what cannot be opened: a flush that fails.
  explicit Flush(const std::string& native)
      : descriptor_(native.empty() ? -1 : open(native.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC)) {
    if (descriptor_ < 0 || !files::flushesToDisk()) return;
    request_->aio_fildes = descriptor_;
    request_->aio_sigevent.sigev_notify = SIGEV_NONE;
    // Where the system takes no more requests the file is flushed at once.
    asked_ = aio_fsync(O_SYNC, request_.get()) == 0;
    if (!asked_) flushed_ = fsync(descriptor_) == 0;
  }
  Flush(const Flush&) = delete;
  Flush& operator=(const Flush&) = delete;
  ~Flush() { static_cast<void>(done()); }

  // Waits for its end; whether the file is on the disk.
  [[nodiscard]] bool done() {
    if (descriptor_ < 0) return false;
    if (asked_) {
      const aiocb* const waited[] = {request_.get()};
      while (aio_error(request_.get()) == EINPROGRESS) aio_suspend(waited, 1, nullptr);
      flushed_ = aio_return(request_.get()) == 0;
      asked_ = false;
    }
    const bool closed = close(std::exchange(descriptor_, -1)) == 0;
    return closed && flushed_;
  }

 private:
  int descriptor_;
  bool asked_ = false;
  bool flushed_ = true;
  std::unique_ptr<aiocb> request_ = std::make_unique<aiocb>();  // the system fills it meanwhile
};

}  // namespace

std::vector<bool> flushFiles(const std::vector<std::string>& paths) {
  std::vector<std::string> natives;
  natives.reserve(paths.size());
  for (const std::string& path : paths)
    natives.push_back(files::flushingFails(path) ? "" : files::nativePath(path).value_or(""));

  std::deque<Flush> flushes;  // each stays where it is
  for (const std::string& native : natives) flushes.emplace_back(native);

  std::map<std::string, bool> folders;
  std::vector<bool> result;
  for (std::size_t at = 0; at < natives.size(); ++at) {
    const std::string folder = natives[at].substr(0, natives[at].rfind('/') + 1);
    const bool flushed = flushes[at].done();
    if (flushed && !folders.contains(folder)) folders[folder] = flushPath(folder, O_DIRECTORY);
    result.push_back(flushed && folders[folder]);
  }
  return result;
}

}  // namespace vornelle
