// NetStream to the scripted servers. A server answers at once; a wait for bytes that never come uses up its
// time-out.
#include "platform/net_stream.h"

#include <algorithm>

#include "platform/events.h"
#include "platform/sim/world.h"

namespace vornelle {
namespace sim {
namespace {

class Stream : public NetStream {
 public:
  explicit Stream(std::unique_ptr<Server> server) : server_(std::move(server)) { server_->onConnect(sent_); }

  [[nodiscard]] std::optional<std::size_t> read(char* buffer, std::size_t size,
                                                int timeoutMilliseconds) override {
    if (server_->broken) return std::nullopt;
    if (!sent_.empty()) {
      const std::size_t count = std::min(size, sent_.size());
      sent_.copy(buffer, count);
      sent_.erase(0, count);
      return count;
    }
    if (server_->closed) return 0;
    pause(timeoutMilliseconds);
    return std::nullopt;
  }

  // A stalled server's system still takes bytes for it.
  [[nodiscard]] bool write(std::string_view bytes, int /*timeoutMilliseconds*/) override {
    if (server_->broken) return false;
    if (!server_->stalled && !server_->closed) server_->onData(bytes, sent_);
    return true;
  }

 private:
  std::unique_ptr<Server> server_;
  std::string sent_;
};

}  // namespace

void addServer(const std::string& host, int port, std::function<std::unique_ptr<Server>()> factory) {
  world().servers[{host, port}] = std::move(factory);
}

void removeServer(const std::string& host, int port) {
  world().servers.erase({host, port});
}

int connectionsMade() {
  return world().connectionsMade;
}

}  // namespace sim

std::unique_ptr<NetStream> openNetStream(const std::string& host, int port, int /*timeoutMilliseconds*/) {
  const auto found = sim::world().servers.find({host, port});
  if (found == sim::world().servers.end()) return nullptr;
  const std::function<std::unique_ptr<sim::Server>()> factory = found->second;
  std::unique_ptr<sim::Server> server = factory();
  if (!server) return nullptr;
  ++sim::world().connectionsMade;
  return std::make_unique<sim::Stream>(std::move(server));
}

}  // namespace vornelle
