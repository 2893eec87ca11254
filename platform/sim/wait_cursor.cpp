#include "platform/wait_cursor.h"

#include <algorithm>

#include "platform/sim/sim.h"

namespace vornelle {

WaitCursor::WaitCursor() {
  ++sim::shell().waitCursors;
  ++sim::shell().waitCursorsShown;
}

WaitCursor::~WaitCursor() {
  // The simulated world may have been put back meanwhile.
  sim::shell().waitCursors = std::max(0, sim::shell().waitCursors - 1);
}

}  // namespace vornelle
