// What files.cpp asks of the platform that it is built into.
#pragma once

#include <string>

namespace vornelle::files {

// The application folder as the system spells it: absolute, no slash at its end.
[[nodiscard]] std::string nativeApplicationFolder();

// Faults that a test has asked for; the real platform has none of its own making. The path is the caller's.
[[nodiscard]] bool writingFails(const std::string& path);
[[nodiscard]] bool readingFails(const std::string& path);
[[nodiscard]] bool replacingFails(const std::string& path);  // the file itself can be written
[[nodiscard]] bool flushingFails(const std::string& path);   // of a file that has been written unflushed

// False where no loss of power has to be survived: the flush to the disk is what costs the most by far.
[[nodiscard]] bool flushesToDisk();

}  // namespace vornelle::files
