// Flushing many files at once:
//
// 1. As long as a flush takes next to no time (files in memory, a disk that has its own battery) the files
//    are flushed one after the other: nothing is quicker.
// 2. A disk takes as long for one flush as for several that are asked for at the same time. So with the first
//    flush that takes longer the system is asked for all the others with its asynchronous calls (POSIX
//    aio_fsync), and they are waited for together. The next series then begins so.
#include "platform/unix/flush.h"

#include <aio.h>
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstddef>
#include <deque>
#include <map>
#include <memory>
#include <vector>

#include "platform/files.h"
#include "platform/unix/descriptor.h"
#include "platform/unix/file_hooks.h"
#include "platform/unix/paths.h"

namespace vornelle {
namespace {

using Clock = std::chrono::steady_clock;

// A flush that takes no longer than this. Handing it to the system's asynchronous calls takes a third of it.
constexpr std::chrono::microseconds kQuick{100};

// The last flushes have been quick.
bool quick = true;

// A file that is flushed, at once or beside others.
class FileFlush {
 public:
  // "" and what cannot be opened: a flush that fails.
  explicit FileFlush(const std::string& native)
      : file_(native.empty() ? -1 : open(native.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC)) {}
  FileFlush(const FileFlush&) = delete;
  FileFlush& operator=(const FileFlush&) = delete;
  ~FileFlush() { static_cast<void>(done()); }

  void now() { flushed_ = file_.isOpen() && files::flushDescriptor(file_.get()); }

  void beside() {
    if (!file_.isOpen() || !files::flushesToDisk()) return now();
    request_ = std::make_unique<aiocb>();
    request_->aio_fildes = file_.get();
    request_->aio_sigevent.sigev_notify = SIGEV_NONE;
    if (aio_fsync(O_SYNC, request_.get()) == 0) return;
    request_.reset();  // the system takes no more of them
    now();
  }

  // Waits for its end; whether the file is on the disk.
  [[nodiscard]] bool done() {
    if (request_) {
      const aiocb* const waited[] = {request_.get()};
      while (aio_error(request_.get()) == EINPROGRESS) aio_suspend(waited, 1, nullptr);
      flushed_ = aio_return(request_.get()) == 0;
      request_.reset();
    }
    return (!file_.isOpen() || file_.close()) && flushed_;
  }

 private:
  Descriptor file_;
  bool flushed_ = false;
  std::unique_ptr<aiocb> request_;  // the system fills it meanwhile
};

// The files in their order, "" for one that is none.
std::vector<bool> flushNatives(const std::vector<std::string>& natives) {
  std::vector<bool> flushed;
  for (; quick && flushed.size() < natives.size();) {
    FileFlush flush(natives[flushed.size()]);
    const Clock::time_point start = Clock::now();
    flush.now();
    quick = Clock::now() - start <= kQuick;
    flushed.push_back(flush.done());
  }
  const std::size_t rest = natives.size() - flushed.size();
  if (rest == 0) return flushed;

  const Clock::time_point start = Clock::now();
  std::deque<FileFlush> flushes;  // each stays where it is
  for (std::size_t at = flushed.size(); at < natives.size(); ++at) flushes.emplace_back(natives[at]).beside();
  for (FileFlush& flush : flushes) flushed.push_back(flush.done());
  quick = Clock::now() - start <= kQuick / 2 * static_cast<int>(rest);
  return flushed;
}

}  // namespace

bool files::flushDescriptor(int descriptor) {
  return !flushesToDisk() || fsync(descriptor) == 0;
}

bool files::flushFolder(const std::string& folder) {
  const Descriptor opened(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  // Some file systems cannot do it for folders, and say so with EINVAL.
  return opened.isOpen() && (flushDescriptor(opened.get()) || errno == EINVAL);
}

std::vector<bool> flushFiles(const std::vector<std::string>& paths) {
  std::vector<std::string> natives;
  natives.reserve(paths.size());
  for (const std::string& path : paths)
    natives.push_back(files::flushingFails(path) ? "" : files::nativePath(path).value_or(""));

  const std::vector<bool> flushed = flushNatives(natives);
  std::map<std::string, bool> folders;
  std::vector<bool> result;
  for (std::size_t at = 0; at < natives.size(); ++at) {
    const std::string folder = natives[at].substr(0, natives[at].rfind('/') + 1);
    if (flushed[at] && !folders.contains(folder)) folders[folder] = files::flushFolder(folder);
    result.push_back(flushed[at] && folders[folder]);
  }
  return result;
}

}  // namespace vornelle
