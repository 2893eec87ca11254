// Reading files piece by piece. `readSome` (buffer, size) is the system's way to do it: how many bytes it has
// read, 0 at the end of the file, nullopt where it fails.
#pragma once

#include <algorithm>
#include <cstddef>
#include <exception>
#include <optional>
#include <string>

namespace vornelle {

// The bytes from where the file is read on, up to its end. nullopt: not to its end, or more than the memory
// holds.
template <typename ReadSome>
[[nodiscard]] std::optional<std::string> readToEnd(std::size_t expected, ReadSome readSome) try {
  // One byte more than what is expected shows the end with the last piece, and the loop goes on where the
  // file has grown.
  std::string content(expected + 1, '\0');
  std::size_t length = 0;
  while (true) {
    const std::optional<std::size_t> got = readSome(content.data() + length, content.size() - length);
    if (!got) return std::nullopt;
    if (*got == 0) break;
    length += *got;
    if (length == content.size()) content.resize(content.size() * 2);
  }
  content.resize(length);
  return content;
} catch (const std::exception&) {
  return std::nullopt;
}

// So many bytes, or as many as there are. nullopt as above.
template <typename ReadSome>
[[nodiscard]] std::optional<std::string> readAtMost(std::size_t most, ReadSome readSome) try {
  std::string content(most, '\0');
  std::size_t length = 0;
  while (length < most) {
    const std::optional<std::size_t> got = readSome(content.data() + length, most - length);
    if (!got) return std::nullopt;
    if (*got == 0) break;
    length += *got;
  }
  content.resize(length);
  return content;
} catch (const std::exception&) {
  return std::nullopt;
}

}  // namespace vornelle
