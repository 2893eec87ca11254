// Reading piece by piece: files, and what has arrived on a connection. Of a file `readSome` (buffer, size) is
// the system's way to do it: how many bytes it has read, 0 at the end of the file, nullopt where it fails.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <optional>
#include <string>

#include "platform/files.h"

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

// readFileStart() on a file of that length. nullopt as above.
template <typename ReadSome>
[[nodiscard]] std::optional<FileStart> readStart(std::uint64_t fileLength, std::size_t most,
                                                 ReadSome readSome) try {
  const auto size = static_cast<std::size_t>(std::min<std::uint64_t>(most, fileLength));
  FileStart start{std::string(size, '\0'), fileLength};
  std::size_t length = 0;
  while (length < size) {
    const std::optional<std::size_t> got = readSome(start.text.data() + length, size - length);
    if (!got) return std::nullopt;
    if (*got == 0) break;
    length += *got;
  }
  start.text.resize(length);
  return start;
} catch (const std::exception&) {
  return std::nullopt;
}

// What has arrived on a connection that never blocks, at most so many bytes. `waiting` tells how many bytes
// are known to be there, `receiveSome` (buffer, size) how many it has received, 0 where there are no more.
// Reads on until nothing is left, not just what waited at first: each read makes room for bytes that the
// peer's system has been holding back, and they arrive at once on this machine.
template <typename Waiting, typename ReceiveSome>
[[nodiscard]] std::string receiveArrived(std::size_t most, Waiting waiting, ReceiveSome receiveSome) {
  constexpr std::size_t kPiece = std::size_t{64} * 1024;
  std::string bytes;
  while (bytes.size() < most) {
    const std::size_t before = bytes.size();
    bytes.resize(std::min(most, before + std::max(waiting(), bytes.empty() ? std::size_t{1} : kPiece)));
    const std::size_t got = receiveSome(bytes.data() + before, bytes.size() - before);
    bytes.resize(before + got);
    if (got == 0) break;
  }
  return bytes;
}

}  // namespace vornelle
