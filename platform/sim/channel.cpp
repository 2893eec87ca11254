// The program's ends of the in-memory network.
#include "platform/common/channel.h"

#include "platform/sim/world.h"

namespace vornelle {
namespace sim {
namespace {

class SimConnection final : public Connection {
 public:
  SimConnection(std::shared_ptr<End> end, int port) : end_(std::move(end)), port_(port) {}
  ~SimConnection() override { end_->reset(); }

  [[nodiscard]] int localPort() const override { return port_; }

  [[nodiscard]] Peer peer() override {
    end_->owner = owner;
    if (end_->broken) return Peer::broken;
    return end_->peerFinished ? Peer::finished : Peer::open;
  }

  [[nodiscard]] std::size_t waiting() override { return end_->arrived.size(); }

  [[nodiscard]] std::string receive(std::size_t most) override {
    std::string bytes = end_->arrived.substr(0, most);
    end_->arrived.erase(0, bytes.size());
    return bytes;
  }

  [[nodiscard]] std::size_t send(std::string_view bytes) override { return end_->send(bytes); }

  void finish(std::unique_ptr<Connection> self, std::string unsent) override {
    end_->owner.reset();
    end_->finishing = true;
    end_->unsent = std::move(unsent);
    end_->flushUnsent();
    if (!end_->gone) world().finishing.push_back(end_);
    // What is closed in the background is no longer this object's to reset.
    end_ = std::make_shared<End>();
    self.reset();
  }

 private:
  std::shared_ptr<End> end_;
  int port_;
};

class SimListener final : public Listener {
 public:
  SimListener(LoopbackAddress address, int port) : listener_{address, port, {}, {}} {
    world().listeners[{address, port}] = &listener_;
  }
  ~SimListener() override {
    world().listeners.erase({listener_.address, listener_.port});
    for (const auto& end : listener_.waiting) end->reset();
  }

  [[nodiscard]] int localPort() const override { return listener_.port; }
  [[nodiscard]] std::unique_ptr<Connection> takeConnection() override {
    listener_.owner = owner;
    if (listener_.waiting.empty()) return nullptr;
    auto connection = std::make_unique<SimConnection>(listener_.waiting.front(), listener_.port);
    listener_.waiting.pop_front();
    return connection;
  }

 private:
  ListeningPort listener_;
};

}  // namespace
}  // namespace sim

std::unique_ptr<Listener> openListener(LoopbackAddress address, int port) {
  sim::World& world = sim::world();
  const sim::Endpoint endpoint{address, port};
  if (world.refused.contains(address) || world.occupied.contains(endpoint) ||
      world.listeners.contains(endpoint)) {
    return nullptr;
  }
  return std::make_unique<sim::SimListener>(address, port);
}

}  // namespace vornelle
