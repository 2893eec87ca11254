// An input as what a server sends: it comes in pieces, whatever is asked of the server; then the server
// closes, or falls silent. The first byte is the length of a piece, and its highest bit the silence.
#pragma once

#include <algorithm>
#include <cstddef>
#include <optional>
#include <string_view>

#include "platform/net_stream.h"

namespace vornelle {

class PiecewiseStream : public NetStream {
 public:
  explicit PiecewiseStream(std::string_view input) : bytes_(input) {
    if (bytes_.empty()) return;
    const auto first = static_cast<unsigned char>(bytes_.front());
    piece_ = (first & 0x7FU) + 1U;
    silent_ = first >= 0x80U;
    bytes_.remove_prefix(1);
  }

  [[nodiscard]] std::optional<std::size_t> read(char* buffer, std::size_t size, int /*timeout*/) override {
    const std::size_t count = std::min({size, piece_, bytes_.size()});
    bytes_.copy(buffer, count);
    bytes_.remove_prefix(count);
    if (count == 0 && silent_) return std::nullopt;
    return count;
  }

 protected:
  [[nodiscard]] bool isOver() const { return bytes_.empty(); }

 private:
  std::string_view bytes_;
  std::size_t piece_ = 1;
  bool silent_ = false;
};

}  // namespace vornelle
