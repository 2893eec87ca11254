// The events of all SocketControls, as every platform's event loop serves them: one at a time, in turn.
#pragma once

namespace vornelle::loop {

// A timer that is due waits for at most so many socket events.
inline constexpr int kSocketEventsBeforeTick = 64;

enum class Which { all, meanwhile };  // meanwhile: of sockets that are served in the middle of a wait

bool serveSocketEvent(Which which = Which::all);  // false when no such socket has an event
void forgetAllSockets();                          // every SocketControl is closed without a word to its peer

// Looks which sockets may have an event, and serves none. Implemented by each event loop.
void collectSocketEvents();

}  // namespace vornelle::loop
