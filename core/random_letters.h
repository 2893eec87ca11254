// Random letters for session ids.
#pragma once

#include <cstdint>
#include <string>

namespace vornelle {

// Starts the generator whose numbers are mixed into the operating system's. Start-up seeds it from the clock.
void seedRandomLetters(std::uint64_t seed);

// That many letters A to Z, drawn independently and uniformly. "" when the operating system gives no random
// numbers: no id at all is better than one that can be guessed.
[[nodiscard]] std::string randomLetters(int count);

}  // namespace vornelle
