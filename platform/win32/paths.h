// From the application's paths to the system's.
//
// A path that begins with the application folder's text means that folder whatever its own name is made of,
// also where Windows-1252 lacks a letter of it (in the user's name, say). Every other path is taken letter by
// letter.
#pragma once

#include <string>

namespace vornelle::win32 {

// The folder of the program file.
[[nodiscard]] const std::wstring& programFolder();

// The path as the shell and the user write it. "" where it cannot name anything (a NUL in it).
[[nodiscard]] std::wstring widePath(const std::string& path);

// The path for the functions of the file system: absolute, and of any length. "" where it names no file or
// folder: a device ("NUL", "COM1"), a stream of a file ("list.txt:more").
[[nodiscard]] std::wstring systemPath(const std::string& path);

}  // namespace vornelle::win32
