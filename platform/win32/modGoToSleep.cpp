#include "platform/modGoToSleep.h"

#include <windows.h>

#include "platform/common/blocking.h"

namespace vornelle {

void pause(int milliseconds) {
  if (milliseconds <= 0) return;
  aboutToBlock();
  Sleep(static_cast<DWORD>(milliseconds));
}

}  // namespace vornelle
