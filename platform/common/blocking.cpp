#include "platform/common/blocking.h"

#include <utility>

#include "base/module_state.h"
#include "platform/common/socket_events.h"
#include "platform/meanwhile.h"

namespace vornelle {
namespace {

// Events of one look, and milliseconds: a browser that asks on and on must not keep the program from the
// server.
constexpr int kMostEvents = 64;
constexpr std::int64_t kLongestLook = 50;

struct Waits {
  std::function<void()> beforeBlocking;
  std::function<void()> meanwhile;
  int depth = 0;  // looks at the sockets under way, one in the middle of the other
  std::int64_t lastLook = 0;
};

// Never destroyed: the program may block until its very end.
Waits& waits() {
  static auto* const instance = new Waits;
  return *instance;
}

const ModuleState waitsState([] { waits() = {}; });

}  // namespace

void setBeforeBlocking(std::function<void()> handler) {
  waits().beforeBlocking = std::move(handler);
}

void aboutToBlock() {
  if (waits().beforeBlocking) waits().beforeBlocking();
}

void setMeanwhile(std::function<void()> handler) {
  waits().meanwhile = std::move(handler);
}

bool waitingForServer() {
  return waits().depth > 0;
}

void serveMeanwhile() {
  struct Look {
    Look() { ++waits().depth; }
    ~Look() {
      --waits().depth;
      waits().lastLook = monotonicMilliseconds();
    }
  } const look;
  const std::int64_t start = monotonicMilliseconds();
  for (int i = 0; i < kMostEvents && monotonicMilliseconds() - start < kLongestLook; ++i) {
    loop::collectSocketEvents();
    if (!loop::serveSocketEvent(loop::Which::meanwhile)) break;
  }
  const std::function<void()> handler = waits().meanwhile;
  if (waits().depth == 1 && handler) handler();
}

void serveMeanwhileIfDue() {
  if (monotonicMilliseconds() - waits().lastLook >= kMeanwhileInterval) serveMeanwhile();
}

}  // namespace vornelle
