// Standard output of the console program, written to without waiting for who reads it. The window of the
// other program needs nothing like it.
#pragma once

#include <cstddef>
#include <string_view>

namespace vornelle {

// Hands over as many of the bytes as are taken at once, and says how many: a pipe that nobody reads takes no
// more when it is full. Where nobody will ever read, all of them count as taken.
[[nodiscard]] std::size_t writeToStandardOutput(std::string_view bytes);

}  // namespace vornelle
