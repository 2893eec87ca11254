#include "platform/unix/event_loop.h"

#include <deque>
#include <utility>

#include "platform/common/blocking.h"
#include "platform/events.h"
#include "platform/meanwhile.h"

namespace vornelle {
namespace {

struct LoopState {
  std::deque<std::function<void()>> posted;
  int socketEventsInARow = 0;
};

// Never destroyed: static objects of the program may still use the loop while the process ends.
LoopState& state() {
  static LoopState* const instance = new LoopState;
  return *instance;
}

}  // namespace

namespace loop {

void post(std::function<void()> event) {
  state().posted.push_back(std::move(event));
}

void clearPosted() {
  state().posted.clear();
}

void collectSocketEvents() {
  collectReady();
}

bool serveOne() {
  collectReady();
  LoopState& loop = state();
  if (!loop.posted.empty()) {
    const std::function<void()> event = std::move(loop.posted.front());
    loop.posted.pop_front();
    event();
    return true;
  }
  if (loop.socketEventsInARow >= kSocketEventsBeforeTick) {
    loop.socketEventsInARow = 0;
    if (serveTick()) return true;
  }
  // Counted before the handler runs: it may serve further events itself.
  ++loop.socketEventsInARow;
  if (serveSocketEvent()) return true;
  loop.socketEventsInARow = 0;
  return serveTick();
}

}  // namespace loop

void doEvents() {
  if (waitingForServer()) return serveMeanwhile();
  while (loop::serveOne()) {
  }
}

void waitEvents() {
  while (!loop::serveOne()) loop::waitReady(loop::nextTickDue());
  doEvents();
}

}  // namespace vornelle
