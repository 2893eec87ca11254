// A terminal has no pointer.
#include "platform/wait_cursor.h"

namespace vornelle {

WaitCursor::WaitCursor() = default;
WaitCursor::~WaitCursor() = default;

}  // namespace vornelle
