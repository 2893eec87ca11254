// NetStreams with a distance: a clock of their own, bytes that take time to arrive, and a record of how often
// somebody had to wait.
#pragma once

#include <algorithm>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "platform/net_stream.h"
#include "platform/sim/sim.h"

namespace vornelle {

// A server far away. Each direction takes `delay`; the server itself takes no time.
struct Distance {
  int delay = 20;  // milliseconds
  std::int64_t now = 0;
  int waits = 0;               // reads that had to wait for bytes under way
  std::size_t mostUnread = 0;  // most bytes of commands that were under way at a time
};

class LatentStream : public NetStream {
 public:
  LatentStream(std::unique_ptr<sim::Server> server, Distance& distance)
      : server_(std::move(server)), distance_(distance) {
    std::string out;
    server_->onConnect(out);
    arrivals_.push_back({distance_.now + 2 * distance_.delay, out});
  }

  [[nodiscard]] std::optional<std::size_t> read(char* buffer, std::size_t size, int /*timeout*/) override {
    while (!arrivals_.empty() && arrivals_.front().bytes.empty()) arrivals_.pop_front();
    if (arrivals_.empty()) return server_->closed ? std::optional<std::size_t>(0) : std::nullopt;
    if (arrivals_.front().at > distance_.now) {
      distance_.now = arrivals_.front().at;
      ++distance_.waits;
    }
    std::string& bytes = arrivals_.front().bytes;
    const std::size_t count = std::min(size, bytes.size());
    bytes.copy(buffer, count);
    bytes.erase(0, count);
    return count;
  }

  [[nodiscard]] bool write(std::string_view bytes, int /*timeout*/) override {
    distance_.mostUnread = std::max(distance_.mostUnread, bytes.size());
    std::string out;
    server_->onData(bytes, out);
    arrivals_.push_back({distance_.now + 2 * distance_.delay, out});
    return true;
  }

 private:
  struct Arrival {
    std::int64_t at;
    std::string bytes;
  };
  std::unique_ptr<sim::Server> server_;
  Distance& distance_;
  std::deque<Arrival> arrivals_;
};

}  // namespace vornelle
