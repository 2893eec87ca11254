#include "platform/modGoToSleep.h"

#include "platform/sim/world.h"

namespace vornelle {

void pause(int milliseconds) {
  if (milliseconds > 0) sim::world().now += milliseconds;
}

}  // namespace vornelle
