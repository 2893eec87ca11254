// NetStream to the scripted servers.
#include "platform/net_stream.h"

#include <algorithm>

#include "platform/common/blocking.h"
#include "platform/modGoToSleep.h"
#include "platform/sim/stream.h"
#include "platform/sim/world.h"

namespace vornelle {
namespace sim {

std::optional<std::size_t> Stream::read(char* buffer, std::size_t size, int timeoutMilliseconds) {
  serveMeanwhile();
  if (server_->broken) return std::nullopt;
  if (!sent_.empty()) {
    const std::size_t count = std::min(size, sent_.size());
    sent_.copy(buffer, count);
    sent_.erase(0, count);
    return count;
  }
  if (server_->closed) {
    if (server_->secured && !server_->saysTlsEnds) return std::nullopt;
    return 0;
  }
  pause(timeoutMilliseconds);
  return std::nullopt;
}

// A stalled server's system still takes bytes for it.
bool Stream::write(std::string_view bytes, int /*timeoutMilliseconds*/) {
  if (server_->broken) return false;
  if (!server_->stalled && !server_->closed) server_->onData(bytes, sent_);
  return true;
}

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

std::unique_ptr<NetStream> openNetStream(const std::string& host, int port, int /*timeoutMilliseconds*/,
                                         NetProblem* problem) {
  const auto fail = [problem](NetProblem why) {
    if (problem) *problem = why;
    return nullptr;
  };
  const auto& servers = sim::world().servers;
  const auto found = servers.find({host, port});
  if (found == servers.end()) {
    // A name is known here when something serves at any port of it.
    const bool known = std::any_of(servers.begin(), servers.end(),
                                   [&](const auto& entry) { return entry.first.first == host; });
    return fail(known ? NetProblem::refused : NetProblem::nameNotFound);
  }
  const std::function<std::unique_ptr<sim::Server>()> factory = found->second;
  std::unique_ptr<sim::Server> server = factory();
  if (!server) return fail(NetProblem::refused);
  ++sim::world().connectionsMade;
  return std::make_unique<sim::Stream>(std::move(server));
}

}  // namespace vornelle
