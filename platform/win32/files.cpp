// Files on Windows. Letter case is the file system's own business here.
#include "platform/files.h"

#include <windows.h>

#include <algorithm>

#include "base/hash.h"
#include "platform/common/reading.h"
#include "platform/common/temporary_name.h"
#include "platform/win32/file_time.h"
#include "platform/win32/handle.h"
#include "platform/win32/paths.h"
#include "platform/win32/text.h"

namespace vornelle {
namespace {

using win32::Handle;
using win32::narrow;
using win32::systemPath;
using win32::widen;

constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
// A virus scanner or an indexer holds a file that has just been written open for a moment.
constexpr int kTries = 10;
constexpr DWORD kPause = 20;                // milliseconds
constexpr std::size_t kLongPathPrefix = 4;  // characters
constexpr DWORD kMostAtOnce = 16 * 1024 * 1024;

// Tries again for a moment while another program holds the file.
template <typename Try>
bool insist(Try attempt) {
  for (int tries = 1;; ++tries) {
    if (attempt()) return true;
    const DWORD error = GetLastError();
    if (tries == kTries || (error != ERROR_SHARING_VIOLATION && error != ERROR_LOCK_VIOLATION)) return false;
    Sleep(kPause);
  }
}

HANDLE openFile(const std::wstring& path, DWORD access, DWORD share, DWORD disposition) {
  HANDLE file = INVALID_HANDLE_VALUE;
  const bool opened = insist([&] {
    file = CreateFileW(path.c_str(), access, share, nullptr, disposition, FILE_ATTRIBUTE_NORMAL, nullptr);
    return file != INVALID_HANDLE_VALUE;
  });
  if (opened && GetFileType(file) != FILE_TYPE_DISK) {
    CloseHandle(file);
    return INVALID_HANDLE_VALUE;
  }
  return file;
}

DWORD attributesOf(const std::string& path) {
  const std::wstring wide = systemPath(path);
  return wide.empty() ? INVALID_FILE_ATTRIBUTES : GetFileAttributesW(wide.c_str());
}

bool isFile(DWORD attributes) {
  return attributes != INVALID_FILE_ATTRIBUTES &&
         (attributes & (FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_DEVICE)) == 0;
}

bool isFolder(DWORD attributes) {
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

bool writeAll(const Handle& file, std::string_view bytes) {
  while (!bytes.empty()) {
    const auto piece = static_cast<DWORD>(std::min<std::size_t>(bytes.size(), kMostAtOnce));
    DWORD written = 0;
    if (!WriteFile(file.get(), bytes.data(), piece, &written, nullptr) || written == 0) return false;
    bytes.remove_prefix(written);
  }
  return true;
}

// As ReadFile; 0 at the end of the file, nullopt where it fails.
std::optional<std::size_t> readSome(const Handle& file, char* buffer, std::size_t size) {
  DWORD got = 0;
  const auto piece = static_cast<DWORD>(std::min<std::size_t>(size, kMostAtOnce));
  if (!ReadFile(file.get(), buffer, piece, &got, nullptr)) return std::nullopt;
  return got;
}

// From where the file is read on.
std::optional<std::string> contentOf(const Handle& file) {
  LARGE_INTEGER size;
  if (!GetFileSizeEx(file.get(), &size)) return std::nullopt;
  return readToEnd(static_cast<std::size_t>(size.QuadPart),
                   [&file](char* buffer, std::size_t most) { return readSome(file, buffer, most); });
}

// Beside the file, in the same folder.
std::wstring temporaryPath(const std::wstring& path) {
  const std::size_t name = path.find_last_of(L'\\') + 1;
  return path.substr(0, name) + widen(files::temporaryName(fnv1a(std::wstring_view(path).substr(name))));
}

enum class Outcome { done, refused, failed };

// Refused: no file can be made there.
Outcome writeTemporary(const std::wstring& path, std::string_view bytes) {
  Handle file(openFile(path, GENERIC_WRITE, 0, CREATE_ALWAYS));
  if (!file) return Outcome::refused;
  return writeAll(file, bytes) && FlushFileBuffers(file.get()) && file.close() ? Outcome::done
                                                                               : Outcome::failed;
}

bool replaceFile(const std::wstring& from, const std::wstring& to) {
  for (int tries = 1;; ++tries) {
    if (MoveFileExW(from.c_str(), to.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH))
      return true;
    const DWORD error = GetLastError();
    if (tries == kTries || (error != ERROR_SHARING_VIOLATION && error != ERROR_ACCESS_DENIED)) return false;
    if (isFolder(GetFileAttributesW(to.c_str()))) return false;
    Sleep(kPause);
  }
}

// Over the old content, which is put back where the new one does not fit.
bool writeInPlace(const std::wstring& path, std::string_view bytes) {
  Handle file(openFile(path, GENERIC_READ | GENERIC_WRITE, kShareAll, OPEN_EXISTING));
  if (!file) return false;
  const std::optional<std::string> old = contentOf(file);
  const auto put = [&file](std::string_view content) {
    return SetFilePointerEx(file.get(), {}, nullptr, FILE_BEGIN) && writeAll(file, content) &&
           SetEndOfFile(file.get()) && FlushFileBuffers(file.get());
  };
  if (!old) return false;
  if (put(bytes)) return file.close();
  static_cast<void>(put(*old));
  return false;
}

bool endsWithNoCase(std::wstring_view name, std::wstring_view ending) {
  if (name.size() < ending.size()) return false;
  const std::wstring_view end = name.substr(name.size() - ending.size());
  const int size = static_cast<int>(ending.size());
  return ending.empty() || CompareStringOrdinal(end.data(), size, ending.data(), size, TRUE) == CSTR_EQUAL;
}

}  // namespace

bool fileExists(const std::string& path) {
  return isFile(attributesOf(path));
}

bool folderExists(const std::string& path) {
  return isFolder(attributesOf(path));
}

bool createFolder(const std::string& path) {
  return CreateDirectoryW(systemPath(path).c_str(), nullptr) || folderExists(path);
}

std::optional<std::uint64_t> fileLength(const std::string& path) {
  WIN32_FILE_ATTRIBUTE_DATA data;
  if (!GetFileAttributesExW(systemPath(path).c_str(), GetFileExInfoStandard, &data)) return std::nullopt;
  if (!isFile(data.dwFileAttributes)) return std::nullopt;
  return static_cast<std::uint64_t>(data.nFileSizeHigh) << 32 | data.nFileSizeLow;
}

std::optional<std::string> nameOnDisk(const std::string& path) {
  const std::wstring wide = systemPath(path);
  // They would stand for any name.
  if (wide.empty() || wide.find_first_of(L"*?", kLongPathPrefix) != std::wstring::npos) return std::nullopt;
  WIN32_FIND_DATAW entry;
  const HANDLE search =
      FindFirstFileExW(wide.c_str(), FindExInfoBasic, &entry, FindExSearchNameMatch, nullptr, 0);
  if (search == INVALID_HANDLE_VALUE) return std::nullopt;
  FindClose(search);
  return narrow(entry.cFileName);
}

std::optional<std::string> readFile(const std::string& path) {
  if (!fileExists(path)) return std::nullopt;
  const Handle file(openFile(systemPath(path), GENERIC_READ, kShareAll, OPEN_EXISTING));
  return file ? contentOf(file) : std::nullopt;
}

std::optional<FileStart> readFileStart(const std::string& path, std::size_t most) {
  if (!fileExists(path)) return std::nullopt;
  const Handle file(openFile(systemPath(path), GENERIC_READ, kShareAll, OPEN_EXISTING));
  LARGE_INTEGER size;
  if (!file || !GetFileSizeEx(file.get(), &size)) return std::nullopt;
  return readStart(static_cast<std::uint64_t>(size.QuadPart), most,
                   [&file](char* buffer, std::size_t wanted) { return readSome(file, buffer, wanted); });
}

bool writeFile(const std::string& path, std::string_view bytes) {
  const std::wstring target = systemPath(path);
  if (target.empty()) return false;
  // Not asked before whether there is such a name: each look-up of one that is not there can mean that the
  // system goes through the whole folder.
  const std::wstring temporary = temporaryPath(target);
  const Outcome written = writeTemporary(temporary, bytes);
  if (written == Outcome::done && replaceFile(temporary, target)) return true;
  DeleteFileW(temporary.c_str());
  return written != Outcome::failed && fileExists(path) && writeInPlace(target, bytes);
}

// Windows promises that a name lasts only for the file that is moved with a flush of its own, so there is
// nothing to be had for many at once.
bool writeFileUnflushed(const std::string& path, std::string_view bytes) {
  return writeFile(path, bytes);
}

std::vector<bool> flushFiles(const std::vector<std::string>& paths) {
  std::vector<bool> result;
  result.reserve(paths.size());
  for (const std::string& path : paths) result.push_back(fileExists(path));
  return result;
}

bool appendFile(const std::string& path, std::string_view bytes) {
  const std::wstring target = systemPath(path);
  if (target.empty()) return false;
  Handle file(openFile(target, GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, OPEN_ALWAYS));
  LARGE_INTEGER end;
  if (!file || !SetFilePointerEx(file.get(), {}, &end, FILE_END)) return false;
  if (!writeAll(file, bytes)) {
    // Half an entry of a list could mean something else than the whole one.
    if (SetFilePointerEx(file.get(), end, nullptr, FILE_BEGIN)) SetEndOfFile(file.get());
    return false;
  }
  return file.close();
}

bool deleteFile(const std::string& path) {
  const std::wstring wide = systemPath(path);
  return !wide.empty() && insist([&] { return DeleteFileW(wide.c_str()) != FALSE; });
}

std::vector<FolderEntry> listFolder(const std::string& folder, std::string_view ending) {
  std::vector<FolderEntry> result;
  const std::wstring wideEnding = widen(ending);
  std::string pattern = folder;
  if (!pattern.ends_with('\\')) pattern += '\\';
  WIN32_FIND_DATAW entry;
  // All names, and the ending looked at here: the system's own pattern would also match short names.
  const HANDLE search = FindFirstFileExW(systemPath(pattern + "*").c_str(), FindExInfoBasic, &entry,
                                         FindExSearchNameMatch, nullptr, FIND_FIRST_EX_LARGE_FETCH);
  if (search == INVALID_HANDLE_VALUE) return result;
  do {
    const std::wstring_view name = entry.cFileName;
    if (!isFile(entry.dwFileAttributes) || !endsWithNoCase(name, wideEnding)) continue;
    // A name that the program could not spell is none of its own files.
    if (!win32::fitsCodePage(name) || files::isTemporaryName(narrow(name))) continue;
    result.push_back({narrow(name), win32::millisecondsSince1970(entry.ftLastWriteTime)});
  } while (FindNextFileW(search, &entry));
  FindClose(search);
  return result;
}

}  // namespace vornelle
