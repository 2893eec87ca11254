#include "platform/win32/paths.h"

#include <windows.h>

#include <algorithm>

#include "platform/files.h"
#include "platform/win32/text.h"

namespace vornelle {
namespace win32 {
namespace {

// Longer ones need the prefix that lifts the limit of 260 characters; a folder has to leave room for a short
// name.
constexpr std::size_t kLongestPlainPath = MAX_PATH - 13;

bool startsDrive(std::wstring_view path) {
  return path.size() >= 2 && path[1] == L':';
}

std::wstring fullPath(const std::wstring& path) {
  std::wstring full(path.size() + MAX_PATH, L'\0');
  for (;;) {
    const DWORD length =
        GetFullPathNameW(path.c_str(), static_cast<DWORD>(full.size()), full.data(), nullptr);
    const bool fits = length < full.size();
    full.resize(length);
    if (fits) return full;
  }
}

}  // namespace

const std::wstring& programFolder() {
  static const std::wstring folder = [] {
    std::wstring path(MAX_PATH, L'\0');
    for (;;) {
      const DWORD length = GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size()));
      if (length < path.size()) {
        path.resize(length);
        break;
      }
      path.resize(path.size() * 2);
    }
    return path.substr(0, path.find_last_of(L'\\'));
  }();
  return folder;
}

std::wstring widePath(const std::string& path) {
  if (path.find('\0') != std::string::npos) return {};
  std::wstring wide;
  std::size_t rest = 0;
  const std::string root = applicationFolder();
  if (path.starts_with(root) && (path.size() == root.size() || path[root.size()] == '\\')) {
    wide = programFolder();
    rest = root.size();
  }
  wide += widen(std::string_view(path).substr(rest));
  std::replace(wide.begin(), wide.end(), L'/', L'\\');
  return wide;
}

std::wstring systemPath(const std::string& path) {
  std::wstring full = widePath(path);
  if (full.empty()) return full;
  const bool verbatim = full.starts_with(L"\\\\?\\");
  // Resolves "..", which the prefix would take by the letter, and shows what is a device.
  if (!verbatim) full = fullPath(full);
  if (full.starts_with(L"\\\\.\\")) return {};
  const std::size_t drive = verbatim ? 4 : 0;
  const std::size_t names = startsDrive(std::wstring_view(full).substr(std::min(drive, full.size()))) ? 2 : 0;
  if (full.find(L':', drive + names) != std::wstring::npos) return {};
  if (verbatim || full.size() <= kLongestPlainPath) return full;
  return full.starts_with(L"\\\\") ? L"\\\\?\\UNC" + full.substr(1) : L"\\\\?\\" + full;
}

}  // namespace win32

std::string applicationFolder() {
  static const std::string folder = win32::narrow(win32::programFolder());
  return folder;
}

}  // namespace vornelle
