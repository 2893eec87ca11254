// The main window on the screen. Each desktop implements this once: desktop/win32 draws the window,
// desktop/console writes the log box's text to standard output.
//
// A program's main() is: createMainWindow(); Form1_Load(); return runMessageLoop();
//
// The window mirrors form1: createMainWindow() sets the observers onShow of the check boxes, onAppend and
// onReplace of the log box, onWindowChange and onRaise. After form1.onWindowChange the window shows
// form1.caption, and is minimised, hidden or visible as form1.windowState and form1.visible say. What the
// user does goes the other way, into the functions of desktop/main_window.h and the operations of the
// controls (form1.ckActive.setChecked(...)), which run the handlers.
#pragma once

namespace vornelle {

// Makes the window, not shown yet, and sets form1's observers. Comes before everything else: start-up's first
// line already goes to the log box.
void createMainWindow();

// Serves events until the process ends. The result is the exit status where it ends otherwise.
[[nodiscard]] int runMessageLoop();

}  // namespace vornelle
