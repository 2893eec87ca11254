// The in-memory network between SocketControls and the test's browser.
#include <algorithm>

#include "platform/sim/world.h"

namespace vornelle {
namespace sim {

std::size_t End::send(std::string_view bytes) {
  const std::shared_ptr<End> to = peer.lock();
  if (broken) return 0;
  if (!to || to->gone) {
    // The other machine answers bytes that nobody wants with a reset. These are lost, the next ones fail.
    broken = true;
    tell();
    return bytes.size();
  }
  const std::size_t taken = std::min(bytes.size(), to->room);
  if (taken == 0) return 0;
  to->arrived.append(bytes.substr(0, taken));
  if (to->room != kUnlimited) to->room -= taken;
  to->tell();
  return taken;
}

void End::finishSending() {
  if (const auto to = peer.lock()) {
    to->peerFinished = true;
    to->tell();
  }
}

void End::disconnect() {
  if (gone) return;
  gone = true;
  finishSending();
}

void End::reset() {
  if (gone) return;
  gone = true;
  if (const auto to = peer.lock()) {
    to->broken = true;
    to->tell();
  }
}

void End::flushUnsent() {
  unsent.erase(0, send(unsent));
  if (unsent.empty() || broken) disconnect();
}

namespace {

// The near end of a new connection to the listener, which gets the far one; null when nobody listens.
std::shared_ptr<End> connectTo(LoopbackAddress address, int port) {
  const auto listener = world().listeners.find({address, port});
  if (listener == world().listeners.end()) return nullptr;
  auto near = std::make_shared<End>();
  auto far = std::make_shared<End>();
  near->peer = far;
  far->peer = near;
  listener->second->waiting.push_back(far);
  if (const auto told = listener->second->owner.lock()) told->ready();
  return near;
}

}  // namespace

struct Client::Impl {
  std::shared_ptr<End> end = std::make_shared<End>();
  bool connected = false;
  std::size_t firstRoom = End::kUnlimited;
};

Client::Client() : impl_(std::make_shared<Impl>()) {}
Client::~Client() {
  if (impl_) disconnect();
}
Client::Client(Client&&) noexcept = default;
Client& Client::operator=(Client&& other) noexcept {
  if (this == &other) return *this;
  if (impl_) disconnect();
  impl_ = std::move(other.impl_);
  return *this;
}

bool Client::connect(LoopbackAddress address, int port) {
  if (impl_->connected) disconnect();
  std::shared_ptr<End> end = connectTo(address, port);
  if (!end) return false;
  end->room = impl_->firstRoom;
  impl_->end = std::move(end);
  impl_->connected = true;
  return true;
}

void Client::send(std::string_view bytes) {
  impl_->end->send(bytes);
}
void Client::finishSending() {
  impl_->end->finishSending();
}
void Client::disconnect() {
  impl_->end->disconnect();
  impl_->connected = false;
}
void Client::reset() {
  impl_->end->reset();
  impl_->connected = false;
}

const std::string& Client::received() const {
  return impl_->end->arrived;
}
bool Client::closedByServer() const {
  return impl_->end->peerFinished || impl_->end->broken;
}

void Client::limitReceiveBuffer(std::size_t bytes) {
  impl_->firstRoom = bytes;
  impl_->end->room = bytes;
}

void Client::takeMore(std::size_t bytes) {
  if (impl_->end->room == End::kUnlimited) return;
  impl_->end->room += bytes;
  const std::shared_ptr<End> sender = impl_->end->peer.lock();
  if (!sender) return;
  if (sender->finishing) {
    sender->flushUnsent();
  } else {
    sender->tell();
  }
}

void occupyPort(LoopbackAddress address, int port) {
  world().occupied.insert({address, port});
}
void refuseAddress(LoopbackAddress address) {
  world().refused.insert(address);
}

int listeningPort(LoopbackAddress address) {
  for (const auto& [endpoint, listener] : world().listeners) {
    if (endpoint.first == address) return endpoint.second;
  }
  return 0;
}

}  // namespace sim
}  // namespace vornelle
