// What the program does before it stops serving events for a while.
#pragma once

#include <functional>

namespace vornelle {

// The handler is called before each pause(), before the console program ends, and wherever a server has let
// the program wait for a moment and the wait goes on. It serves no events; a desktop shows what it has held
// back until then. None: nothing is called.
void setBeforeBlocking(std::function<void()> handler);

}  // namespace vornelle
