// The gateway: a second listener, on [::1], for today's browsers.
//
// The plain listener on IPv4 answers bare text, one request at a time, and takes a request only in one piece.
// Browsers refuse bare answers on most ports, open spare connections, and send large forms in pieces. The
// gateway stands between: it reads a whole HTTP/1.1 request, queues it, forwards one request at a time to the
// plain listener over a loopback connection, in one send, and sends the bare answer on as an HTTP/1.1 answer.
// It touches nothing in the plain listener.
//
// One connection's states:
//   1. reading: collecting a request; a wrong one is answered with its 4xx and the connection is closed
//      behind it.
//   2. waiting: the request is whole and stands in the queue; a browser that goes away is dropped from the
//      queue.
//   3. forwarded: the one request in flight; its answer is collected until the plain listener closes.
//   4. answering: the answer is on its way; then 1 again, or the end.
#pragma once

#include <cstddef>
#include <cstdint>

namespace vornelle {

inline constexpr int kGatewayQueueLimit = 64;              // requests that wait; one more is answered 503
inline constexpr int kGatewayRequestMilliseconds = 30000;  // for a request to get complete
inline constexpr int kGatewayConnectionLimit = 256;  // more: the one that has been idle longest is closed
inline constexpr std::size_t kGatewayAnswerLimit = 600u << 20;  // bytes of one answer

// Listens on [::1] with the plain listener's port. Where that address cannot be bound the program runs
// without a gateway, and says nothing. Call it once the plain listener listens.
void gatewayStart();

// Closes everything. For tests.
void gatewayStop();

// What stands in the gateway right now. For tests.
struct GatewayState {
  std::size_t connections = 0;
  std::size_t waiting = 0;
  bool inFlight = false;
};
[[nodiscard]] GatewayState gatewayState();

}  // namespace vornelle
