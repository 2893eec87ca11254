// The events of all SocketControls, as every platform's event loop serves them: one at a time, in turn.
#pragma once

namespace vornelle::loop {

// A timer that is due waits for at most so many socket events.
inline constexpr int kSocketEventsBeforeTick = 64;

bool serveSocketEvent();  // false when no socket has an event
void forgetAllSockets();  // every SocketControl is closed without a word to its peer

}  // namespace vornelle::loop
