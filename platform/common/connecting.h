// The way to a server, as every real platform goes it once the name has been looked up: its addresses are
// tried in turn, all within one time-out.
#pragma once

#include <algorithm>
#include <cstdint>

#include "platform/clock.h"

namespace vornelle {

// Tries the addresses of a list (linked by ai_next) until `connect` (address, time it has to be done by)
// brings something. Each address gets its share of the time that is left, so that a dead one does not use up
// the others'.
template <typename Address, typename Connect>
auto connectInTurn(const Address* first, std::int64_t end, Connect connect)
    -> decltype(connect(*first, end)) {
  int left = 0;
  for (const Address* address = first; address; address = address->ai_next) ++left;
  for (const Address* address = first; address; address = address->ai_next, --left) {
    const std::int64_t now = monotonicMilliseconds();
    if (now >= end && address != first) break;
    auto connected = connect(*address, now + std::max<std::int64_t>(end - now, 0) / left);
    if (connected) return connected;
  }
  return nullptr;
}

}  // namespace vornelle
