// The operating system's cryptographic random numbers.
#pragma once

#include <cstddef>

namespace vornelle {

// Fills the buffer; false when the system gives none.
[[nodiscard]] bool fillRandom(void* buffer, std::size_t size);

}  // namespace vornelle
