#include "platform/unix/folder_index.h"

#include <dirent.h>
#include <linux/magic.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <functional>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "base/hash.h"
#include "base/text.h"
#include "platform/common/temporary_name.h"

namespace vornelle::files {
namespace {

constexpr std::size_t kMostFolders = 16;
constexpr std::size_t kMostNames = 200'000;  // some 20 MB

std::size_t readCount = 0;

struct HashAnyCase {
  std::size_t operator()(const std::string& name) const {
    return static_cast<std::size_t>(fnv1a(std::string_view(name), toLowerChar));
  }
};
struct EqualAnyCase {
  bool operator()(const std::string& a, const std::string& b) const { return equalsNoCase(a, b); }
};

// Names as they are spelled; those that differ in letter case alone stand together.
class Names {
 public:
  void add(std::string name) {
    if (find(name) == names_.end()) names_.insert(std::move(name));
  }
  void remove(const std::string& name) {
    if (const auto found = find(name); found != names_.end()) names_.erase(found);
  }
  [[nodiscard]] std::optional<std::string> inAnyCase(const std::string& name) const {
    const auto [first, last] = names_.equal_range(name);
    if (first == last) return std::nullopt;
    return *std::min_element(first, last);
  }
  [[nodiscard]] std::size_t size() const { return names_.size(); }

 private:
  using Set = std::unordered_multiset<std::string, HashAnyCase, EqualAnyCase>;

  [[nodiscard]] Set::const_iterator find(const std::string& name) const {
    const auto [first, last] = names_.equal_range(name);
    const auto found = std::find(first, last, name);
    return found == last ? names_.end() : found;
  }

  Set names_;
};

// False when the folder cannot be read.
bool readFolder(const std::string& folder, const std::function<void(const char*)>& take) {
  DIR* const entries = opendir(folder.c_str());
  if (entries == nullptr) return false;
  ++readCount;
  while (const dirent* entry = readdir(entries)) take(entry->d_name);
  closedir(entries);
  return true;
}

std::optional<std::string> lookUpByReading(const std::string& folder, const std::string& name) {
  std::optional<std::string> match;
  const bool read = readFolder(folder, [&](const char* entry) {
    if (equalsNoCase(entry, name) && (!match || *match > entry)) match = entry;
  });
  return read ? match : std::nullopt;
}

// Whether the system hears of every change: nobody else has access to the disk.
bool isLocal(const std::string& folder) {
  struct statfs status;
  if (statfs(folder.c_str(), &status) != 0) return false;
  constexpr std::uint64_t kZfs = 0x2FC12FC1, kBcachefs = 0xCA451A4E;
  constexpr std::array<std::uint64_t, 9> kLocal = {EXT4_SUPER_MAGIC,
                                                   XFS_SUPER_MAGIC,
                                                   BTRFS_SUPER_MAGIC,
                                                   F2FS_SUPER_MAGIC,
                                                   TMPFS_MAGIC,
                                                   RAMFS_MAGIC,
                                                   kZfs,
                                                   OVERLAYFS_SUPER_MAGIC,
                                                   kBcachefs};
  const auto type = static_cast<std::uint32_t>(status.f_type);
  return std::find(kLocal.begin(), kLocal.end(), type) != kLocal.end();
}

using Identity = std::pair<dev_t, ino_t>;

struct HashIdentity {
  std::size_t operator()(const Identity& identity) const {
    return std::hash<std::uint64_t>{}(static_cast<std::uint64_t>(identity.first) * 0x9E3779B97F4A7C15 ^
                                      static_cast<std::uint64_t>(identity.second));
  }
};

class FolderIndexes {
 public:
  FolderIndexes() : reports_(inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) {}
  ~FolderIndexes() {
    if (reports_ >= 0) close(reports_);
  }
  FolderIndexes(const FolderIndexes&) = delete;
  FolderIndexes& operator=(const FolderIndexes&) = delete;

  // The names of the folder as they are now; null where only reading the folder tells.
  const Names* namesOf(const std::string& folder) {
    struct stat status;
    if (reports_ < 0 || stat(folder.c_str(), &status) != 0) return nullptr;
    applyReports();
    const Identity identity{status.st_dev, status.st_ino};
    if (const auto found = watches_.find(identity); found != watches_.end()) return &names_.at(found->second);
    return build(folder, identity);
  }

 private:
  const Names* build(const std::string& folder, const Identity& identity) {
    if (!isLocal(folder)) return nullptr;
    if (watches_.size() >= kMostFolders) forgetAll();
    constexpr std::uint32_t kChanges = IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO | IN_ONLYDIR;
    const int watch = inotify_add_watch(reports_, folder.c_str(), kChanges);
    if (watch < 0) return nullptr;
    watches_[identity] = watch;
    Names& names = names_[watch];
    if (!readFolder(folder, [&](const char* entry) { names.add(entry); })) {
      forget(watch);
      return nullptr;
    }
    // What has changed while the folder was being read; and another folder may have taken the path before.
    applyReports();
    struct stat status;
    const auto found = names_.find(watch);
    if (found == names_.end()) return nullptr;
    if (stat(folder.c_str(), &status) != 0 || identity != Identity{status.st_dev, status.st_ino} ||
        found->second.size() > kMostNames) {
      forget(watch);
      return nullptr;
    }
    return &found->second;
  }

  void applyReports() {
    alignas(inotify_event) std::array<char, 16384> buffer;
    while (true) {
      const ssize_t got = read(reports_, buffer.data(), buffer.size());
      if (got < 0 && errno == EINTR) continue;
      if (got < 0 && errno != EAGAIN) forgetAll();
      if (got <= 0) return;
      for (std::size_t at = 0; at < static_cast<std::size_t>(got);) {
        const auto* const report = reinterpret_cast<const inotify_event*>(buffer.data() + at);
        apply(*report);
        at += sizeof(inotify_event) + report->len;
      }
    }
  }

  void apply(const inotify_event& report) {
    if ((report.mask & IN_Q_OVERFLOW) != 0) return forgetAll();
    const auto found = names_.find(report.wd);
    if (found == names_.end()) return;
    if ((report.mask & (IN_IGNORED | IN_UNMOUNT)) != 0) return forget(report.wd);
    if (report.len == 0 || isTemporaryName(report.name)) return;
    if ((report.mask & (IN_CREATE | IN_MOVED_TO)) != 0) found->second.add(report.name);
    if ((report.mask & (IN_DELETE | IN_MOVED_FROM)) != 0) found->second.remove(report.name);
  }

  void forget(int watch) {
    inotify_rm_watch(reports_, watch);  // fails where the folder is gone, and the watch with it
    names_.erase(watch);
    std::erase_if(watches_, [watch](const auto& entry) { return entry.second == watch; });
  }

  // Watch numbers are not given again, so a late report of a forgotten one meets nothing.
  void forgetAll() {
    while (!names_.empty()) forget(names_.begin()->first);
  }

  int reports_;
  std::unordered_map<Identity, int, HashIdentity> watches_;
  std::unordered_map<int, Names> names_;  // by watch
};

FolderIndexes& indexes() {
  // Never destroyed: static objects of the program may still use files while the process ends.
  static auto* instance = new FolderIndexes;
  static pid_t owner = getpid();
  if (owner != getpid()) {
    // A process that has been forked shares the reports of the first, and each would take them from the
    // other.
    owner = getpid();
    delete std::exchange(instance, new FolderIndexes);
  }
  return *instance;
}

}  // namespace

std::optional<std::string> entryInAnyCase(const std::string& folder, const std::string& name) {
  const Names* const names = indexes().namesOf(folder);
  return names != nullptr ? names->inAnyCase(name) : lookUpByReading(folder, name);
}

std::size_t foldersRead() {
  return readCount;
}

}  // namespace vornelle::files
