// SocketControl on top of a platform's connections and listeners: which event a socket has next, in which
// order, and how often.
//
// A socket that may have an event stands in one queue, once. serveSocketEvent() takes the first, looks what
// its next event is at that moment, puts it back to the end of the queue and runs the handler; a socket
// without an event leaves the queue until its channel reports something. So every socket gets its turn, and
// whatever a handler does to any socket is seen by the next look.
#include <deque>
#include <map>
#include <set>
#include <utility>

#include "base/numbers.h"
#include "platform/common/channel.h"
#include "platform/common/socket_events.h"
#include "platform/socket.h"

namespace vornelle {
namespace {

constexpr std::size_t kMostAtOnce = std::size_t{16} * 1024 * 1024;

struct Sockets {
  std::deque<std::weak_ptr<SocketControl::Impl>> queue;
  std::set<SocketControl::Impl*> all;
  std::map<SocketControl::RequestId, std::unique_ptr<Connection>> requests;  // announced, not yet accepted
  SocketControl::RequestId lastRequest = 0;
};

// Never destroyed: static sockets outlive this file's statics.
Sockets& sockets() {
  static Sockets* const instance = new Sockets;
  return *instance;
}

}  // namespace

struct SocketControl::Impl : ChannelOwner, std::enable_shared_from_this<SocketControl::Impl> {
  enum class State { closed, listening, connected };
  enum class Event { none, connectionRequest, dataArrival, sendComplete, close };

  explicit Impl(SocketControl* socketControl) : control(socketControl) { sockets().all.insert(this); }
  ~Impl() override { sockets().all.erase(this); }
  Impl(const Impl&) = delete;
  Impl& operator=(const Impl&) = delete;

  SocketControl* control;  // null once it is destroyed
  State state = State::closed;
  std::unique_ptr<Listener> listener;      // while listening
  std::unique_ptr<Connection> connection;  // while connected
  bool queued = false;
  bool servedMeanwhile = false;  // in the middle of a wait for a server too

  std::size_t announced =
      0;  // bytes waiting when DataArrival came last; above that there is more to announce

  std::string outgoing;             // not yet handed over
  std::deque<std::size_t> sends;    // for each sendData in `outgoing`: its bytes that are not yet handed over
  std::size_t sendsCompleted = 0;   // SendComplete events to serve
  bool dataBeforeComplete = false;  // a DataArrival has come between since a SendComplete is due

  bool lost = false;  // the connection broke
  bool peerFinished = false;
  bool closeServed = false;

  void ready() override {
    if (queued) return;
    queued = true;
    sockets().queue.push_back(weak_from_this());
  }

  void listen(std::unique_ptr<Listener> newListener) {
    start(*newListener, State::listening);
    listener = std::move(newListener);
  }

  void open(std::unique_ptr<Connection> newConnection) {
    start(*newConnection, State::connected);
    connection = std::move(newConnection);
  }

  void start(Channel& channel, State newState) {
    forget();
    lost = peerFinished = closeServed = false;
    channel.owner = weak_from_this();
    state = newState;
    ready();
  }

  // Back to the closed state. What the peer did stays known.
  void forget() {
    state = State::closed;
    listener.reset();
    connection.reset();
    announced = 0;
    outgoing.clear();
    sends.clear();
    sendsCompleted = 0;
    dataBeforeComplete = false;
  }

  void close() {
    if (state == State::connected && !lost) {
      Connection* const closing = connection.get();
      closing->owner.reset();
      closing->finish(std::move(connection), std::move(outgoing));
    }
    forget();
  }

  void flush() {
    while (!sends.empty()) {
      const std::size_t taken = lost || outgoing.empty() ? outgoing.size() : connection->send(outgoing);
      outgoing.erase(0, taken);
      std::size_t left = taken;
      while (!sends.empty() && sends.front() <= left) {
        left -= sends.front();
        sends.pop_front();
        ++sendsCompleted;
      }
      if (!sends.empty()) sends.front() -= left;
      if (taken == 0) break;
    }
  }

  void lookAtPeer() {
    const Connection::Peer peer = connection->peer();
    if (peer == Connection::Peer::finished) peerFinished = true;
    if (peer == Connection::Peer::broken) lost = true;
  }

  Event next() {
    if (state == State::closed) return Event::none;
    if (state == State::listening) return Event::connectionRequest;
    lookAtPeer();
    flush();
    // Some systems tell a reset only to the one who sends.
    if (!lost && !sends.empty()) {
      lookAtPeer();
      if (lost) flush();
    }
    const bool data = connection->waiting() > announced;
    if (data && !(sendsCompleted > 0 && dataBeforeComplete)) return Event::dataArrival;
    if (sendsCompleted > 0) return Event::sendComplete;
    if ((lost || peerFinished) && !closeServed) return Event::close;
    return Event::none;
  }

  // False when there was no event.
  bool serve() {
    const Event event = next();
    std::function<void()> handler;
    switch (event) {
      case Event::none:
        return false;
      case Event::connectionRequest:
        return serveConnectionRequest();
      case Event::dataArrival:
        announced = connection->waiting();
        dataBeforeComplete = sendsCompleted > 0;
        handler = control->onDataArrival;
        break;
      case Event::sendComplete:
        --sendsCompleted;
        dataBeforeComplete = false;
        handler = control->onSendComplete;
        break;
      case Event::close:
        closeServed = true;
        handler = control->onClose;
        break;
    }
    ready();
    if (handler) handler();
    return true;
  }

  bool serveConnectionRequest() {
    std::unique_ptr<Connection> taken = listener->takeConnection();
    if (!taken) return false;
    const RequestId request = ++sockets().lastRequest;
    sockets().requests.emplace(request, std::move(taken));
    // Dropped at the end, however the handler ends, unless it has been accepted.
    struct Dropper {
      RequestId dropped;
      ~Dropper() { sockets().requests.erase(dropped); }
    } const dropper{request};
    const std::function<void(RequestId)> handler = control->onConnectionRequest;
    ready();
    if (handler) handler(request);
    return true;
  }
};

SocketControl::SocketControl() : impl_(std::make_shared<Impl>(this)) {}

SocketControl::~SocketControl() {
  impl_->close();
  impl_->control = nullptr;
}

bool SocketControl::listen(LoopbackAddress address, int port) {
  if (isOpen() || !isPort(port)) return false;
  std::unique_ptr<Listener> listener = openListener(address, port);
  if (!listener) return false;
  impl_->listen(std::move(listener));
  return true;
}

bool SocketControl::accept(RequestId request) {
  if (isOpen()) return false;
  const auto found = sockets().requests.find(request);
  if (found == sockets().requests.end()) return false;
  std::unique_ptr<Connection> connection = std::move(found->second);
  sockets().requests.erase(found);
  impl_->open(std::move(connection));
  return true;
}

std::string SocketControl::getData() {
  if (impl_->state != Impl::State::connected) return {};
  impl_->announced = 0;
  impl_->ready();
  return impl_->connection->receive(kMostAtOnce);
}

bool SocketControl::sendData(std::string_view bytes) {
  if (impl_->state != Impl::State::connected) return false;
  // What the system takes at once is not copied first.
  const bool first = impl_->sends.empty() && !impl_->lost;
  const std::size_t taken = first ? impl_->connection->send(bytes) : 0;
  impl_->outgoing.append(bytes.substr(taken));
  impl_->sends.push_back(bytes.size() - taken);
  impl_->flush();
  impl_->ready();
  return true;
}

void SocketControl::close() {
  impl_->close();
}

bool SocketControl::isOpen() const {
  return impl_->state != Impl::State::closed;
}

void SocketControl::serveMeanwhile() {
  impl_->servedMeanwhile = true;
}

int SocketControl::localPort() const {
  if (impl_->listener) return impl_->listener->localPort();
  return impl_->connection ? impl_->connection->localPort() : 0;
}

namespace loop {

bool serveSocketEvent(Which which) {
  Sockets& all = sockets();
  std::size_t passedOver = 0;  // sockets at the front whose turn it is not
  while (passedOver < all.queue.size()) {
    const auto place = all.queue.begin() + static_cast<std::ptrdiff_t>(passedOver);
    const std::shared_ptr<SocketControl::Impl> one = place->lock();
    if (one && one->control && which == Which::meanwhile && !one->servedMeanwhile) {
      ++passedOver;
      continue;
    }
    all.queue.erase(place);
    if (!one) continue;
    one->queued = false;
    if (!one->control) continue;
    if (one->serve()) return true;
  }
  return false;
}

void forgetAllSockets() {
  for (SocketControl::Impl* impl : sockets().all) {
    impl->forget();
    impl->lost = impl->peerFinished = impl->closeServed = false;
    impl->queued = false;
  }
  sockets().queue.clear();
  sockets().requests.clear();
}

}  // namespace loop
}  // namespace vornelle
