// The event loop: socket events, timers and (on Windows) window messages, all on one thread.
//
// Handlers nest by design: doEvents() and waitEvents() may be called inside any handler, and the events they
// serve may call them again. After every single event the next one is looked for afresh, because a nested
// handler may have closed any socket or stopped any timer.
#pragma once

#include <functional>

namespace vornelle {

// Serves everything that is ready, and what that makes ready, one event at a time; returns when nothing is
// left. Never blocks. In the middle of a wait for a server it serves only what is served there
// (platform/meanwhile.h).
void doEvents();

// Blocks until an event is ready, then does what doEvents() does. At least one event has been served when it
// returns. A routine that waits for a condition loops on it. Not for what runs in the middle of a wait for a
// server: it would serve everything there.
void waitEvents();

// Called when the system asks the program to end: SIGTERM and SIGINT on POSIX systems (served as an event).
// On Windows the main window gets this as WM_CLOSE or WM_ENDSESSION by itself and the handler is not used.
void setTerminationHandler(std::function<void()> handler);

// A timer that behaves like a window timer: it ticks every `interval` milliseconds while it is enabled and
// its interval is above 0. A late tick is not repeated; a tick can arrive inside another handler, though not
// inside its own handler before that one yields.
class Timer {
 public:
  Timer(int intervalMilliseconds, bool enabled);
  ~Timer();
  Timer(const Timer&) = delete;
  Timer& operator=(const Timer&) = delete;

  // Either call starts a new period when it changes something; setting the same value again does nothing.
  void setInterval(int milliseconds);
  void setEnabled(bool enabled);

  [[nodiscard]] int interval() const { return interval_; }
  [[nodiscard]] bool enabled() const { return enabled_; }

  std::function<void()> onTick;

 private:
  void restart();  // tells the event loop what has changed
  int interval_;
  bool enabled_;
};

}  // namespace vornelle
