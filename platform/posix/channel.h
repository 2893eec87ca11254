// What the event loop has to do for connections that the program has closed and for listeners that could not
// accept.
#pragma once

#include <cstdint>
#include <optional>

namespace vornelle::network {

// When tend() has something to do even if nothing arrives; on the clock of monotonicMilliseconds().
[[nodiscard]] std::optional<std::int64_t> nextDeadline();
void tend();

}  // namespace vornelle::network
