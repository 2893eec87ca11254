// Between the program's 8-bit text (Windows-1252) and the system's UTF-16.
#pragma once

#include <string>
#include <string_view>

namespace vornelle::win32 {

[[nodiscard]] std::wstring widen(std::string_view text);

// Characters that Windows-1252 lacks become "?".
[[nodiscard]] std::string narrow(std::wstring_view text);

// True when narrow() loses nothing of it.
[[nodiscard]] bool fitsCodePage(std::wstring_view text);

// A path that exists, as 8-bit text. A folder whose name Windows-1252 lacks goes by its short name, where it
// has one.
[[nodiscard]] std::string narrowPath(const std::wstring& path);

}  // namespace vornelle::win32
