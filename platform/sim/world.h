// What the parts of the simulated platform share: the virtual clock, the scripted steps, the in-memory
// network.
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "platform/common/channel.h"
#include "platform/sim/sim.h"

namespace vornelle::sim {

// One end of a connection. What one end sends stands in the other's `arrived` at once.
struct End {
  static constexpr std::size_t kUnlimited = static_cast<std::size_t>(-1);

  std::string arrived;
  std::size_t room = kUnlimited;  // how many more bytes it takes
  bool peerFinished = false;
  bool broken = false;
  bool gone = false;       // nobody reads here any more
  bool finishing = false;  // closed, ends when `unsent` has been taken
  std::string unsent;
  std::weak_ptr<End> peer;
  std::weak_ptr<ChannelOwner> owner;  // a SocketControl; none for a Client

  std::size_t send(std::string_view bytes);
  void finishSending();
  void disconnect();
  void reset();
  void flushUnsent();
  void tell() const {
    if (const auto told = owner.lock()) told->ready();
  }
};

// A port that the program listens on.
struct ListeningPort {
  LoopbackAddress address;
  int port;
  std::deque<std::shared_ptr<End>> waiting;
  std::weak_ptr<ChannelOwner> owner;
};

using Endpoint = std::pair<LoopbackAddress, int>;

struct World {
  // Clock. Both count milliseconds; `now` never goes back, not even with reset().
  std::int64_t now = 1;
  std::int64_t started = 1;     // `now` at reset()
  std::int64_t utcAtStart = 0;  // milliseconds since 1970 when `now` was `started`
  std::int64_t idleMoves = 0;   // virtual time that waits have used up since the test last did something

  std::multimap<std::int64_t, std::function<void()>> steps;  // by the time at which they are due

  std::map<Endpoint, ListeningPort*> listeners;
  std::set<Endpoint> occupied;
  std::set<LoopbackAddress> refused;
  std::vector<std::shared_ptr<End>> finishing;  // ends closed by the program that still have bytes to send

  std::map<std::pair<std::string, int>, std::function<std::unique_ptr<Server>()>> servers;
  int connectionsMade = 0;

  Shell shell;
  std::function<void()> terminationHandler;
  std::string failingWrites;
  std::string failingFlushes;
  std::string failingReads;
  std::string failingReplacements;
  std::function<void(const std::string& path)> beforeWrite;
  std::uint64_t random = 0;
};

World& world();

// Removes the present temporary application folder, if any, and makes a new one with an empty "data" in it.
void freshApplicationFolder();

}  // namespace vornelle::sim
