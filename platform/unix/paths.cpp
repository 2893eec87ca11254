#include "platform/unix/paths.h"

#include <sys/stat.h>

#include <algorithm>
#include <string_view>

#include "platform/files.h"
#include "platform/unix/file_hooks.h"
#include "platform/unix/folder_index.h"

namespace vornelle {
namespace {

constexpr std::string_view kSeparators = "\\/";

bool exists(const std::string& nativePath) {
  struct stat status;
  return lstat(nativePath.c_str(), &status) == 0;
}

// The name of the folder's entry that `name` means.
std::string matchingEntry(const std::string& folder, const std::string& name) {
  if (exists(folder + "/" + name)) return name;
  return files::entryInAnyCase(folder.empty() ? "/" : folder, name).value_or(name);
}

}  // namespace

std::string applicationFolder() {
  std::string folder = files::nativeApplicationFolder();
  std::replace(folder.begin(), folder.end(), '/', '\\');
  return folder;
}

namespace files {

std::optional<std::string> nativePath(const std::string& path) {
  if (path.empty() || path.find('\0') != std::string::npos) return std::nullopt;
  const std::string root = applicationFolder();
  std::string native;
  std::size_t at = 0;
  if (path.starts_with(root) &&
      (path.size() == root.size() || kSeparators.find(path[root.size()]) != kSeparators.npos)) {
    native = nativeApplicationFolder();
    at = root.size();
    // What is there as it is spelled is found with one look instead of one for each name.
    std::string spelled = path.substr(at);
    std::replace(spelled.begin(), spelled.end(), '\\', '/');
    const bool plain = spelled.find("//") == std::string::npos && !spelled.ends_with('/');
    if (plain && exists(spelled.insert(0, native))) return spelled;
  }
  while (at < path.size()) {
    const std::size_t start = path.find_first_not_of(kSeparators, at);
    if (start == std::string::npos) break;
    at = std::min(path.find_first_of(kSeparators, start), path.size());
    const std::string name = path.substr(start, at - start);
    const std::string entry = matchingEntry(native, name);
    native.append("/").append(entry);
  }
  return native.empty() ? "/" : native;
}

}  // namespace files
}  // namespace vornelle
