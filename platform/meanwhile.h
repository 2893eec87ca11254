// What goes on while the program waits for a server.
//
// A mail task blocks the program: until the server has answered, no timer ticks and no event is served. The
// exception are sockets that ask for it (SocketControl::serveMeanwhile()): their events are served every few
// milliseconds, in the middle of the wait. Whatever runs there finds the mail component in the middle of its
// work, and must leave it alone; doEvents() serves nothing but those sockets there.
#pragma once

#include <functional>

namespace vornelle {

// Whether what runs now runs in the middle of such a wait.
[[nodiscard]] bool waitingForServer();

// Called in such a wait after the events of those sockets, for what is due without an event. None: nothing.
void setMeanwhile(std::function<void()> handler);

}  // namespace vornelle
