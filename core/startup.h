// Start-up: the load handler of the main window.
#pragma once

namespace vornelle {

// Wires the controls' handlers and does the whole start in its order. A missing template or a copy that
// already runs ends the process in here.
void Form1_Load();

}  // namespace vornelle
