// Timers. A tick that is late keeps its timer's rhythm: the periods that were missed are left out, the next
// tick comes at the next whole period.
#include <algorithm>
#include <vector>

#include "platform/clock.h"
#include "platform/events.h"
#include "platform/unix/event_loop.h"

namespace vornelle {
namespace {

struct Entry {
  Timer* timer;
  std::int64_t due;
  std::uint64_t turn;  // decides between timers that are due at the same time: the one that was started first
};

struct Timers {
  std::vector<Entry> running;
  std::vector<Timer*> all;
  std::uint64_t nextTurn = 0;
};

// Never destroyed: static timers outlive this file's statics.
Timers& timers() {
  static Timers* const instance = new Timers;
  return *instance;
}

void stop(const Timer* timer) {
  std::erase_if(timers().running, [timer](const Entry& entry) { return entry.timer == timer; });
}

void start(Timer* timer) {
  stop(timer);
  if (!timer->enabled() || timer->interval() <= 0) return;
  timers().running.push_back({timer, monotonicMilliseconds() + timer->interval(), timers().nextTurn++});
}

std::vector<Entry>::iterator nextEntry() {
  std::vector<Entry>& running = timers().running;
  return std::min_element(running.begin(), running.end(), [](const Entry& a, const Entry& b) {
    return a.due != b.due ? a.due < b.due : a.turn < b.turn;
  });
}

}  // namespace

Timer::Timer(int intervalMilliseconds, bool enabled) : interval_(intervalMilliseconds), enabled_(enabled) {
  timers().all.push_back(this);
  restart();
}

Timer::~Timer() {
  stop(this);
  std::erase(timers().all, this);
}

void Timer::restart() {
  start(this);
}

namespace loop {

std::optional<std::int64_t> nextTickDue() {
  const auto next = nextEntry();
  if (next == timers().running.end()) return std::nullopt;
  return next->due;
}

bool serveTick() {
  const auto next = nextEntry();
  const std::int64_t now = monotonicMilliseconds();
  if (next == timers().running.end() || next->due > now) return false;
  const std::int64_t interval = next->timer->interval();
  next->due += ((now - next->due) / interval + 1) * interval;
  // A copy: the handler may replace itself or destroy its timer.
  const std::function<void()> handler = next->timer->onTick;
  if (handler) handler();
  return true;
}

void restartAllTimers() {
  timers().running.clear();
  for (Timer* timer : timers().all) start(timer);
}

}  // namespace loop
}  // namespace vornelle
