// The 64-bit FNV-1a hash of a text: a short stand-in for a name of any length. Not for guarding anything: two
// texts of the same hash are easily made.
#pragma once

#include <cstdint>
#include <functional>
#include <string_view>
#include <type_traits>

namespace vornelle {

// Each character is one unit, whatever its size. `form` says what counts of a character: its small letter,
// say.
template <typename Character, typename Form = std::identity>
[[nodiscard]] constexpr std::uint64_t fnv1a(std::basic_string_view<Character> text, Form form = {}) {
  std::uint64_t hash = 0xcbf29ce484222325;
  for (const Character c : text)
    hash = (hash ^ static_cast<std::make_unsigned_t<Character>>(form(c))) * 0x100000001b3;
  return hash;
}

}  // namespace vornelle
