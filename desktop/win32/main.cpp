// The Windows program.
#include <windows.h>

#include "core/startup.h"
#include "desktop/window.h"

int WINAPI WinMain(HINSTANCE, HINSTANCE, LPSTR, int) {
  vornelle::createMainWindow();
  vornelle::Form1_Load();
  return vornelle::runMessageLoop();
}
