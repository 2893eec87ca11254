// The log box on the screen: the end of form1's text is always in sight.
#pragma once

#include <windows.h>

#include <string>
#include <string_view>

namespace vornelle::win32 {

// Adds to what the box shows and scrolls to the end. A few lines are shown at once; of many lines in a row
// the later ones are shown together, ten times a second, because every change costs a scroll and a repaint of
// the whole box. A box that has become long takes longer for that, and its lines then come less often, every
// two seconds at the least.
void logBoxAppend(HWND logBox, std::string_view piece);
// Shows that text in place of everything, its end in sight.
void logBoxReplace(HWND logBox, const std::string& text);

// Shows and draws what has been added and not been shown yet, for when the program is about to block.
void logBoxShowAll();

}  // namespace vornelle::win32
