// Files and folders. Paths are the application's own: the application folder plus names with "\" between
// them, on every system. Every name below the application folder is matched without regard to letter case; a
// name that does not exist yet is created as it is spelled. File names are 8-bit text (Windows-1252); on
// POSIX systems the bytes are used as they are.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vornelle {

// The folder of the program file, without a trailing backslash.
[[nodiscard]] std::string applicationFolder();

[[nodiscard]] bool fileExists(const std::string& path);  // an ordinary file
[[nodiscard]] bool folderExists(const std::string& path);
[[nodiscard]] bool createFolder(const std::string& path);  // true also where it is there already
// Of an ordinary file, in bytes; nullopt when there is none.
[[nodiscard]] std::optional<std::uint64_t> fileLength(const std::string& path);

// The name of the file or folder at the path as it is spelled on the disk: its letter case, and on Windows
// the long name where the path has the short one. nullopt when there is none.
[[nodiscard]] std::optional<std::string> nameOnDisk(const std::string& path);

// The whole content; nullopt when the file is missing or cannot be read to its end.
[[nodiscard]] std::optional<std::string> readFile(const std::string& path);

struct FileStart {
  std::string text;          // the first bytes
  std::uint64_t length = 0;  // of the whole file
};
// At most the first `most` bytes of the file; fewer only where it has no more. nullopt as above.
[[nodiscard]] std::optional<FileStart> readFileStart(const std::string& path, std::size_t most);

// Replaces the file's content so that a crash leaves the old content or the new one: written to a temporary
// file beside it, flushed to the disk, renamed over it. Where the system refuses that (another program holds
// the file open, the folder takes no new file) and lets the file itself be written, it is written in place:
// then a crash in the middle leaves a part. False when it could not be written whole, or the system does not
// say that it is on the disk. Then there is no file where there was none, and the old content where there was
// one; only where the last step failed, which makes the new name last, the new content may stand there.
[[nodiscard]] bool writeFile(const std::string& path, std::string_view bytes);

// The same without waiting for the disk, where flushing many files at once is cheaper: until flushFiles() a
// loss of power can take the new content away, or the old one with it.
[[nodiscard]] bool writeFileUnflushed(const std::string& path, std::string_view bytes);

// Flushes files to the disk and then the folders that they are in; an element for each path, in order. True:
// the file and its name last through a loss of power. False: they may not, or there is no such file any more.
[[nodiscard]] std::vector<bool> flushFiles(const std::vector<std::string>& paths);

// Opens for appending, writes, closes; creates the file when it is missing (an empty `bytes` just creates
// it). False when it could not write them all; it then takes off again what it has written.
[[nodiscard]] bool appendFile(const std::string& path, std::string_view bytes);

[[nodiscard]] bool deleteFile(const std::string& path);  // false also when there is none

struct FolderEntry {
  std::string name;                   // as spelled on the disk
  std::int64_t modifiedMilliseconds;  // since 1970-01-01 UTC
};

// The ordinary files of the folder whose names end in `ending` (letter case ignored), in the order the folder
// returns them. Left out are the temporary files of writeFile(), and on Windows names that Windows-1252
// cannot spell: they are none of the program's. A missing folder has none.
[[nodiscard]] std::vector<FolderEntry> listFolder(const std::string& folder, std::string_view ending);

}  // namespace vornelle
