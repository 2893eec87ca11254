// The log box on the screen: the end of form1's text is always in sight.
#pragma once

#include <windows.h>

#include <string>
#include <string_view>

namespace vornelle::win32 {

// Adds to what the box shows and scrolls to the end.
void logBoxAppend(HWND logBox, std::string_view piece);
void logBoxReplace(HWND logBox, const std::string& text);

}  // namespace vornelle::win32
