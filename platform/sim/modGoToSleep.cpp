#include "platform/modGoToSleep.h"

#include "platform/common/blocking.h"
#include "platform/sim/world.h"

namespace vornelle {

void pause(int milliseconds) {
  if (milliseconds <= 0) return;
  aboutToBlock();
  sim::world().now += milliseconds;
}

}  // namespace vornelle
