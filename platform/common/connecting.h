// The way to a server, as every real platform goes it: the name is looked up, then its addresses are tried in
// turn, all within one time-out.
#pragma once

#include <algorithm>
#include <cstdint>
#include <memory>
#include <string>

#include "base/numbers.h"
#include "platform/clock.h"
#include "platform/common/blocking.h"
#include "platform/common/left_behind.h"
#include "platform/net_stream.h"

namespace vornelle {

// Tries the addresses of a list (linked by ai_next) until `connect` (address, time it has to be done by)
// brings something. Each address gets its share of the time that is left, so that a dead one does not use up
// the others'.
template <typename Address, typename Connect>
auto connectInTurn(const Address* first, std::int64_t end, Connect connect)
    -> decltype(connect(*first, end)) {
  int left = 0;
  for (const Address* address = first; address; address = address->ai_next) ++left;
  for (const Address* address = first; address; address = address->ai_next, --left) {
    const std::int64_t now = monotonicMilliseconds();
    if (now >= end && address != first) break;
    auto connected = connect(*address, now + std::max<std::int64_t>(end - now, 0) / left);
    if (connected) return connected;
  }
  return nullptr;
}

// Of a wait that has brought nothing.
[[nodiscard]] inline NetProblem problemOfWait(Waited waited) {
  return waited == Waited::timeOver ? NetProblem::timedOut : NetProblem::unreachable;
}

// openNetStream() with the system's own look-up and connection. A `LookUp`, made of host and port, has
// run() (until that time; come: it has ended), firstAddress() (null: the name has none) and what
// LeftBehind asks for. `connect` (address, time it has to be done by, problem) brings the stream or notes why
// there is none.
template <typename LookUp, typename Connect>
std::unique_ptr<NetStream> connectByName(const std::string& host, int port, int timeoutMilliseconds,
                                         NetProblem* problem, Connect connect) {
  NetProblem ignored = NetProblem::none;
  NetProblem& why = problem ? *problem : ignored;
  why = NetProblem::nameNotFound;
  if (host.empty() || host.find('\0') != std::string::npos || !isPort(port)) return nullptr;
  const std::int64_t end = monotonicMilliseconds() + timeoutMilliseconds;
  const auto lookUp = std::make_shared<LookUp>(host, port);
  const Waited lookedUp = lookUp->run(end);
  if (lookedUp != Waited::come) {
    LeftBehind<LookUp>::instance().keep(lookUp);
    why = problemOfWait(lookedUp);
    return nullptr;
  }
  const auto* const first = lookUp->firstAddress();
  if (first) why = NetProblem::none;
  return connectInTurn(first, end,
                       [&](const auto& address, std::int64_t until) -> std::unique_ptr<NetStream> {
                         return connect(address, until, why);
                       });
}

}  // namespace vornelle
