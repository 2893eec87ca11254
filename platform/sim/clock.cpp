// The virtual clock. Local time is UTC in this world.
#include "platform/clock.h"

#include <ctime>

#include "platform/sim/world.h"

namespace vornelle {
namespace sim {

void setUtc(std::int64_t seconds) {
  world().utcAtStart = seconds * 1000 - elapsedMilliseconds();
}

std::int64_t elapsedMilliseconds() {
  return world().now - world().started;
}

}  // namespace sim

std::int64_t monotonicMilliseconds() {
  return sim::world().now;
}

std::int64_t utcNow() {
  const std::int64_t milliseconds = sim::world().utcAtStart + sim::elapsedMilliseconds();
  const std::int64_t seconds = milliseconds / 1000;
  return milliseconds % 1000 < 0 ? seconds - 1 : seconds;
}

LocalTime toLocalTime(std::int64_t utcSeconds) {
  const auto time = static_cast<std::time_t>(utcSeconds);
  std::tm parts{};
  if (!gmtime_r(&time, &parts)) return {};
  return {parts.tm_year + 1900, parts.tm_mon + 1, parts.tm_mday, parts.tm_hour, parts.tm_min, parts.tm_sec};
}

std::string amPmDesignator(bool afternoon) {
  return afternoon ? sim::shell().pmDesignator : sim::shell().amDesignator;
}

}  // namespace vornelle
