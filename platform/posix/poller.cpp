#include "platform/posix/poller.h"

#include <sys/epoll.h>

#include <algorithm>
#include <array>
#include <limits>
#include <unordered_map>

#include "platform/clock.h"
#include "platform/unix/descriptor.h"

namespace vornelle {
namespace {

struct Poller {
  Descriptor epoll{epoll_create1(EPOLL_CLOEXEC)};
  std::unordered_map<std::uint64_t, Polled*> watched;
  std::uint64_t lastId = 0;
};

// Never destroyed: static sockets of the program are torn down after this file's statics.
Poller& poller() {
  static Poller* const instance = new Poller;
  return *instance;
}

// As epoll_wait() takes it.
int timeoutUntil(std::optional<std::int64_t> time) {
  if (!time) return -1;
  return static_cast<int>(std::min<std::int64_t>(millisecondsUntil(*time), std::numeric_limits<int>::max()));
}

}  // namespace

bool Polled::watch(int descriptor) {
  Poller& poller = vornelle::poller();
  const std::uint64_t id = ++poller.lastId;
  epoll_event event{};
  event.events = EPOLLIN | EPOLLOUT | EPOLLRDHUP | EPOLLET;
  event.data.u64 = id;
  if (epoll_ctl(poller.epoll.get(), EPOLL_CTL_ADD, descriptor, &event) != 0) return false;
  id_ = id;
  poller.watched[id] = this;
  descriptor_ = descriptor;
  return true;
}

void Polled::unwatch() {
  if (id_ == 0) return;
  Poller& poller = vornelle::poller();
  epoll_ctl(poller.epoll.get(), EPOLL_CTL_DEL, descriptor_, nullptr);
  poller.watched.erase(id_);
  id_ = 0;
}

void pollDescriptors(std::optional<std::int64_t> until) {
  std::array<epoll_event, 256> events;
  int timeout = timeoutUntil(until);
  while (true) {
    // An interruption by a signal is no reason to wake up: its handler has written into a pipe that is
    // watched.
    const int count =
        epoll_wait(poller().epoll.get(), events.data(), static_cast<int>(events.size()), timeout);
    for (int i = 0; i < count; ++i) {
      // The system's structure is packed: what is in it is copied before it is referred to.
      const std::uint64_t key = events[static_cast<std::size_t>(i)].data.u64;
      const auto found = poller().watched.find(key);
      if (found != poller().watched.end()) found->second->happened();
    }
    if (count < static_cast<int>(events.size())) return;
    timeout = 0;  // there may be more
  }
}

}  // namespace vornelle
