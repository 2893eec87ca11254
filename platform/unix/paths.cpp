#include "platform/unix/paths.h"

#include <dirent.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cstdint>

#include "platform/files.h"
#include "platform/unix/file_hooks.h"

namespace vornelle {
namespace {

constexpr std::string_view kSeparators = "\\/";
constexpr std::string_view kTemporaryStart = ".vornelle-";
constexpr std::string_view kTemporaryEnd = ".tmp";

unsigned char lower(char c) {
  const auto code = static_cast<unsigned char>(c);
  if (code >= 'A' && code <= 'Z') return static_cast<unsigned char>(code + 0x20);
  if (code >= 0xC0 && code <= 0xDE && code != 0xD7) return static_cast<unsigned char>(code + 0x20);
  if (code == 0x8A || code == 0x8C || code == 0x8E) return static_cast<unsigned char>(code + 0x10);
  return code == 0x9F ? 0xFF : code;
}

bool exists(const std::string& nativePath) {
  struct stat status;
  return lstat(nativePath.c_str(), &status) == 0;
}

// The name of the folder's entry that `name` means.
std::string matchingEntry(const std::string& folder, const std::string& name) {
  if (exists(folder + "/" + name)) return name;
  DIR* const entries = opendir(folder.empty() ? "/" : folder.c_str());
  if (!entries) return name;
  std::string match = name;
  while (const dirent* entry = readdir(entries)) {
    if (files::sameName(entry->d_name, name)) {
      match = entry->d_name;
      break;
    }
  }
  closedir(entries);
  return match;
}

}  // namespace

std::string applicationFolder() {
  std::string folder = files::nativeApplicationFolder();
  std::replace(folder.begin(), folder.end(), '/', '\\');
  return folder;
}

namespace files {

bool sameName(std::string_view a, std::string_view b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](char x, char y) { return lower(x) == lower(y); });
}

bool endsWithNoCase(std::string_view name, std::string_view ending) {
  return name.size() >= ending.size() && sameName(name.substr(name.size() - ending.size()), ending);
}

std::optional<std::string> nativePath(const std::string& path) {
  if (path.empty() || path.find('\0') != std::string::npos) return std::nullopt;
  const std::string root = applicationFolder();
  std::string native;
  std::size_t at = 0;
  if (path.starts_with(root) &&
      (path.size() == root.size() || kSeparators.find(path[root.size()]) != kSeparators.npos)) {
    native = nativeApplicationFolder();
    at = root.size();
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

std::string temporaryName(std::string_view name) {
  // FNV-1a; short whatever the length of the name, because a name has at most 255 bytes.
  std::uint64_t hash = 0xcbf29ce484222325;
  for (const char c : name) hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001b3;
  std::string result(kTemporaryStart);
  for (int shift = 60; shift >= 0; shift -= 4) result += "0123456789abcdef"[hash >> shift & 15];
  return result.append(kTemporaryEnd);
}

bool isTemporaryName(std::string_view name) {
  return name.starts_with(kTemporaryStart) && name.ends_with(kTemporaryEnd);
}

}  // namespace files
}  // namespace vornelle
