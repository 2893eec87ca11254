// The names in a folder, found whatever their letter case, without reading the folder for each look-up.
//
// 1. At the first look-up the system is asked to report every change of the folder's names (inotify), and
//    then the folder is read.
// 2. Before every later look-up the reports that have come in since are applied. They are queued while the
//    change is made, by whatever program, so that no change is seen late: the time at which a folder was last
//    changed would not do, since two changes within a tick of the clock leave the same time.
// 3. A folder is known by its device and inode: one that has been moved, or removed and made again, is not
//    taken for the old one.
//
// Where the system does not see every change (a folder on another machine), has lost reports, or the folder
// is too large to be kept in memory, the folder is read for the look-up.
#pragma once

#include <cstddef>
#include <optional>
#include <string>

namespace vornelle::files {

// The name of the entry of the folder, a path of the system's, that is `name` but for letter case; the first
// in the order of bytes where there are several. nullopt where there is none.
[[nodiscard]] std::optional<std::string> entryInAnyCase(const std::string& folder, const std::string& name);

// How many times a folder has been read for that. For tests.
[[nodiscard]] std::size_t foldersRead();

}  // namespace vornelle::files
