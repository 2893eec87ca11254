// The temporary application folder, and the faults of its files that a test asks for.
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <system_error>
#include <utility>

#include "platform/sim/world.h"
#include "platform/unix/file_hooks.h"

namespace vornelle {
namespace sim {
namespace {

// Removes the folder when the test program ends, though not in a child that a death test has forked.
struct Folder {
  std::string path;
  pid_t maker = 0;

  Folder() { make(); }
  ~Folder() { remove(); }
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;

  void make() {
    std::string pattern = (std::filesystem::temp_directory_path() / "vornelle-XXXXXX").string();
    if (!mkdtemp(pattern.data())) {
      std::perror("simulated application folder");
      std::abort();
    }
    path = pattern;
    maker = getpid();
    std::filesystem::create_directory(path + "/data");
  }

  void remove() const {
    if (path.empty() || getpid() != maker) return;
    std::error_code ignored;
    std::filesystem::remove_all(path, ignored);
  }
};

Folder& folder() {
  static Folder instance;
  return instance;
}

bool contains(const std::string& text, const std::string& part) {
  return !part.empty() && text.find(part) != std::string::npos;
}

}  // namespace

void freshApplicationFolder() {
  folder().remove();
  folder().make();
}

void failWritesTo(const std::string& part) {
  world().failingWrites = part;
}
void failFlushesOf(const std::string& part) {
  world().failingFlushes = part;
}
void failReadsOf(const std::string& part) {
  world().failingReads = part;
}
void failReplacementsOf(const std::string& part) {
  world().failingReplacements = part;
}
void beforeWrites(std::function<void(const std::string& path)> step) {
  world().beforeWrite = std::move(step);
}

}  // namespace sim

namespace files {

std::string nativeApplicationFolder() {
  return sim::folder().path;
}
bool writingFails(const std::string& path) {
  if (sim::world().beforeWrite) sim::world().beforeWrite(path);
  return sim::contains(path, sim::world().failingWrites);
}
bool readingFails(const std::string& path) {
  return sim::contains(path, sim::world().failingReads);
}
bool replacingFails(const std::string& path) {
  return sim::contains(path, sim::world().failingReplacements);
}
bool flushingFails(const std::string& path) {
  return sim::contains(path, sim::world().failingFlushes);
}
bool flushesToDisk() {
  return false;
}

}  // namespace files
}  // namespace vornelle
