// What a timer does without asking its platform.
#include "platform/events.h"

namespace vornelle {

void Timer::setInterval(int milliseconds) {
  if (milliseconds == interval_) return;
  interval_ = milliseconds;
  restart();
}

void Timer::setEnabled(bool enabled) {
  if (enabled == enabled_) return;
  enabled_ = enabled;
  restart();
}

}  // namespace vornelle
