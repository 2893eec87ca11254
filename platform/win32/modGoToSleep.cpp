#include "platform/modGoToSleep.h"

#include <windows.h>

namespace vornelle {

void pause(int milliseconds) {
  if (milliseconds > 0) Sleep(static_cast<DWORD>(milliseconds));
}

}  // namespace vornelle
