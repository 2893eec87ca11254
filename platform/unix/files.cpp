// Files on a POSIX system.
#include "platform/files.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

#include "base/hash.h"
#include "base/text.h"
#include "platform/common/reading.h"
#include "platform/common/temporary_name.h"
#include "platform/unix/descriptor.h"
#include "platform/unix/file_hooks.h"
#include "platform/unix/flush.h"
#include "platform/unix/paths.h"

namespace vornelle {
namespace {

using files::nativePath;

// Mail and passwords are the user's own business.
constexpr mode_t kNewFileMode = 0600;
constexpr mode_t kNewFolderMode = 0700;

class File {
 public:
  File() = default;
  File(const std::string& path, int flags, mode_t mode = 0)
      : descriptor_(open(path.c_str(), flags | O_CLOEXEC, mode)) {}

  [[nodiscard]] bool isOpen() const { return descriptor_.isOpen(); }
  [[nodiscard]] int descriptor() const { return descriptor_.get(); }

  [[nodiscard]] bool writeAll(std::string_view bytes) const {
    while (!bytes.empty()) {
      const ssize_t written = ::write(descriptor(), bytes.data(), bytes.size());
      if (written < 0 && errno == EINTR) continue;
      if (written <= 0) return false;
      bytes.remove_prefix(static_cast<std::size_t>(written));
    }
    return true;
  }

  // As ::read, and nullopt where it fails.
  [[nodiscard]] std::optional<std::size_t> read(char* buffer, std::size_t size) const {
    while (true) {
      const ssize_t got = ::read(descriptor(), buffer, size);
      if (got >= 0) return static_cast<std::size_t>(got);
      if (errno != EINTR) return std::nullopt;
    }
  }

  [[nodiscard]] bool flush() const { return files::flushDescriptor(descriptor()); }
  [[nodiscard]] bool close() { return descriptor_.close(); }

 private:
  Descriptor descriptor_;
};

std::optional<struct stat> statusOfNative(const std::string& native, bool ofLink) {
  struct stat status;
  const int failed = ofLink ? lstat(native.c_str(), &status) : stat(native.c_str(), &status);
  return failed == 0 ? std::optional(status) : std::nullopt;
}

std::optional<struct stat> statusOf(const std::string& path) {
  const std::optional<std::string> native = nativePath(path);
  return native ? statusOfNative(*native, false) : std::nullopt;
}

// An ordinary file, and what the system says of it; not open where there is none that can be read.
File openForReading(const std::string& path, struct stat& status) {
  if (files::readingFails(path)) return {};
  const std::optional<std::string> native = nativePath(path);
  if (!native) return {};
  // Without O_NONBLOCK the opening of a named pipe would wait for a writer.
  File file(*native, O_RDONLY | O_NONBLOCK);
  if (!file.isOpen() || fstat(file.descriptor(), &status) != 0 || !S_ISREG(status.st_mode)) return {};
  return file;
}

std::string parentOf(const std::string& native) {
  const std::size_t slash = native.rfind('/');
  return slash == 0 ? "/" : native.substr(0, slash);
}

// From where the file is read on.
std::optional<std::string> contentOf(const File& file, std::size_t expected) {
  return readToEnd(expected, [&file](char* buffer, std::size_t size) { return file.read(buffer, size); });
}

// What a rename has to replace.
struct Replaced {
  std::string path;
  std::optional<struct stat> status;  // none where there is no such file yet
};

// A symbolic link stays, and its target is replaced.
Replaced replacedBy(const std::string& native) {
  Replaced replaced{native, statusOfNative(native, true)};
  if (!replaced.status || !S_ISLNK(replaced.status->st_mode)) return replaced;
  if (char* const resolved = realpath(native.c_str(), nullptr)) {
    replaced.path = resolved;
    free(resolved);
  }
  replaced.status = statusOfNative(replaced.path, false);
  return replaced;
}

// One that was left behind, by a program that was ended in the middle, is taken away first.
File makeTemporary(const std::string& path) {
  constexpr int kFlags = O_WRONLY | O_CREAT | O_EXCL;
  File file(path, kFlags, kNewFileMode);
  if (file.isOpen() || errno != EEXIST) return file;
  unlink(path.c_str());
  return File(path, kFlags, kNewFileMode);
}

enum class Outcome { done, refused, failed };
enum class Flush { now, later };

// Refused: no file can be made there.
Outcome writeTemporary(const std::string& path, const struct stat* old, std::string_view bytes, Flush flush) {
  File file = makeTemporary(path);
  if (!file.isOpen()) return Outcome::refused;
  if (old) {
    // Owner first: a change of owner may take bits from the mode. Only root can keep a foreign owner.
    if (fchown(file.descriptor(), old->st_uid, old->st_gid) != 0) errno = 0;
    if (fchmod(file.descriptor(), old->st_mode & 07777) != 0) return Outcome::failed;
  }
  const bool written = file.writeAll(bytes) && (flush == Flush::later || file.flush()) && file.close();
  return written ? Outcome::done : Outcome::failed;
}

// Refused: the file cannot be replaced. Otherwise it has been, and `done` says that it stays so.
Outcome replaceFile(const std::string& target, const struct stat* old, std::string_view bytes, Flush flush) {
  const std::string folder = parentOf(target);
  const std::string temporary =
      folder + "/" + files::temporaryName(fnv1a(std::string_view(target).substr(target.rfind('/') + 1)));
  const Outcome written = writeTemporary(temporary, old, bytes, flush);
  if (written != Outcome::done || rename(temporary.c_str(), target.c_str()) != 0) {
    unlink(temporary.c_str());
    return written == Outcome::failed ? Outcome::failed : Outcome::refused;
  }
  if (flush == Flush::later || files::flushFolder(folder)) return Outcome::done;
  // Nobody may rely on a file that a loss of power could take away again.
  if (!old) unlink(target.c_str());
  return Outcome::failed;
}

// Over the old content, which is put back where the new one does not fit.
bool writeInPlace(const std::string& target, std::size_t oldSize, std::string_view bytes) {
  File file(target, O_RDWR | O_NONBLOCK);
  if (!file.isOpen()) return false;
  const std::optional<std::string> old = contentOf(file, oldSize);
  const auto put = [&file](std::string_view content) {
    return lseek(file.descriptor(), 0, SEEK_SET) == 0 && file.writeAll(content) &&
           ftruncate(file.descriptor(), static_cast<off_t>(content.size())) == 0 && file.flush();
  };
  if (!old) return false;
  if (put(bytes)) return file.close();
  static_cast<void>(put(*old));
  return false;
}

bool writeWhole(const std::string& path, std::string_view bytes, Flush flush) {
  if (files::writingFails(path)) return false;
  const std::optional<std::string> native = nativePath(path);
  if (!native) return false;
  const Replaced replaced = replacedBy(*native);
  const struct stat* const old = replaced.status ? &*replaced.status : nullptr;
  if (old != nullptr && !S_ISREG(old->st_mode)) return false;

  const Outcome outcome =
      files::replacingFails(path) ? Outcome::refused : replaceFile(replaced.path, old, bytes, flush);
  if (outcome != Outcome::refused || old == nullptr) return outcome == Outcome::done;
  return writeInPlace(replaced.path, static_cast<std::size_t>(old->st_size), bytes);
}

}  // namespace

bool fileExists(const std::string& path) {
  const auto status = statusOf(path);
  return status && S_ISREG(status->st_mode);
}

bool folderExists(const std::string& path) {
  const auto status = statusOf(path);
  return status && S_ISDIR(status->st_mode);
}

bool createFolder(const std::string& path) {
  const std::optional<std::string> native = nativePath(path);
  if (!native) return false;
  if (mkdir(native->c_str(), kNewFolderMode) != 0) return errno == EEXIST && folderExists(path);
  return files::flushFolder(parentOf(*native));
}

std::optional<std::uint64_t> fileLength(const std::string& path) {
  const auto status = statusOf(path);
  if (!status || !S_ISREG(status->st_mode)) return std::nullopt;
  return static_cast<std::uint64_t>(status->st_size);
}

std::optional<std::string> nameOnDisk(const std::string& path) {
  const std::optional<std::string> native = nativePath(path);
  struct stat status;
  if (!native || lstat(native->c_str(), &status) != 0) return std::nullopt;
  return native->substr(native->rfind('/') + 1);
}

std::optional<std::string> readFile(const std::string& path) {
  struct stat status;
  const File file = openForReading(path, status);
  return file.isOpen() ? contentOf(file, static_cast<std::size_t>(status.st_size)) : std::nullopt;
}

std::optional<FileStart> readFileStart(const std::string& path, std::size_t most) {
  struct stat status;
  const File file = openForReading(path, status);
  if (!file.isOpen()) return std::nullopt;
  return readStart(static_cast<std::uint64_t>(status.st_size), most,
                   [&file](char* buffer, std::size_t size) { return file.read(buffer, size); });
}

bool writeFile(const std::string& path, std::string_view bytes) {
  return writeWhole(path, bytes, Flush::now);
}

bool writeFileUnflushed(const std::string& path, std::string_view bytes) {
  return writeWhole(path, bytes, Flush::later);
}

bool appendFile(const std::string& path, std::string_view bytes) {
  if (files::writingFails(path)) return false;
  const std::optional<std::string> native = nativePath(path);
  if (!native) return false;
  File file(*native, O_WRONLY | O_APPEND | O_CREAT | O_NONBLOCK, kNewFileMode);
  struct stat before;
  if (!file.isOpen() || fstat(file.descriptor(), &before) != 0 || !S_ISREG(before.st_mode)) return false;
  if (!file.writeAll(bytes)) {
    // Half an entry of a list could mean something else than the whole one.
    if (ftruncate(file.descriptor(), before.st_size) != 0) errno = 0;
    return false;
  }
  return file.close();
}

bool deleteFile(const std::string& path) {
  const std::optional<std::string> native = nativePath(path);
  return native && unlink(native->c_str()) == 0;
}

std::vector<FolderEntry> listFolder(const std::string& folder, std::string_view ending) {
  std::vector<FolderEntry> result;
  const std::optional<std::string> native = nativePath(folder);
  DIR* const entries = native ? opendir(native->c_str()) : nullptr;
  if (!entries) return result;
  while (const dirent* entry = readdir(entries)) {
    const std::string_view name = entry->d_name;
    if (!endsWithNoCase(name, ending) || files::isTemporaryName(name)) continue;
    struct stat status;
    if (fstatat(dirfd(entries), entry->d_name, &status, 0) != 0 || !S_ISREG(status.st_mode)) continue;
    const std::int64_t milliseconds =
        status.st_mtim.tv_sec * std::int64_t{1000} + status.st_mtim.tv_nsec / 1000000;
    result.push_back({std::string(name), milliseconds});
  }
  closedir(entries);
  return result;
}

}  // namespace vornelle
