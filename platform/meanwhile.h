// What goes on while the program serves no events, in front of such a wait and in the middle of it.
//
// A mail task blocks the program: until the server has answered, no timer ticks and no event is served. The
// exception are sockets that ask for it (SocketControl::serveMeanwhile()): their events are served every few
// milliseconds, in the middle of the wait. Whatever runs there finds the mail component in the middle of its
// work, and must leave it alone; doEvents() serves nothing but those sockets there.
#pragma once

#include <functional>

namespace vornelle {

// The handler is called before each pause(), before the console program ends, and wherever a server has let
// the program wait for a moment and the wait goes on. It serves no events; a desktop shows what it has held
// back until then. None: nothing is called.
void setBeforeBlocking(std::function<void()> handler);

// Whether what runs now runs in the middle of a wait for a server.
[[nodiscard]] bool waitingForServer();

// Called in such a wait after the events of those sockets, for what is due without an event. None: nothing.
void setMeanwhile(std::function<void()> handler);

}  // namespace vornelle
