// The gateway: a second listener, on [::1], for today's browsers.
//
// The plain listener on IPv4 answers bare text, one request at a time, and takes a request only in one piece.
// Browsers refuse bare answers on most ports, open spare connections, and send large forms in pieces. The
// gateway reads a whole HTTP/1.1 request, queues it, hands its text to the plain listener's reading and
// dispatch code, one request at a time, and sends the bare answer that it gets back on as an HTTP/1.1 answer.
// It touches nothing in the plain listener.
//
// While something is under way (a filter run, an action, a fetch) that yields:
//   - a page made of files and of what is held already is served in the middle of it;
//   - a page that would take the mail component away waits a moment, and then gets a page that shows how
//     far it is and turns into the wanted one;
//   - an action waits for its end, in the order of arrival.
// That holds while it waits for the mail server, too: the gateway's sockets are served in such a wait, those
// of the plain listener are not.
// "/status.json", a message view and the user's guide are answered at any time, and never logged.
//
// One connection's states:
//   1. reading: collecting a request; a wrong one is answered with its error, and where its end cannot be
//      told the connection is closed behind it.
//   2. waiting: the request is whole and stands in the queue; a browser that goes away is dropped from the
//      queue.
//   3. served: its answer is being made.
//   4. answering: the answer is on its way; then 1 again, or the end.
#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>

#include "web/direct_request.h"

namespace vornelle {

inline constexpr int kGatewayQueueLimit = 64;              // requests that wait; one more is answered 503
inline constexpr int kGatewayRequestMilliseconds = 30000;  // for a request to get complete
inline constexpr int kGatewayProgressMilliseconds = 500;   // of waiting, before progress is shown
// One more: the connection that has been idle longest is closed, or the new one where none is idle.
inline constexpr int kGatewayConnectionLimit = 256;

// The bare answer to a request's text; nullopt: none.
using AnswerRequest = std::function<std::optional<std::string>(std::string text)>;

// Listens on [::1] with the plain listener's port. Where that address cannot be bound the program runs
// without a gateway, and says nothing. Call it once the plain listener listens. `answer` is for tests.
void gatewayStart(AnswerRequest answer = answerDirectly);

// What stands in the gateway right now. For tests.
struct GatewayState {
  std::size_t connections = 0;
  std::size_t waiting = 0;
  bool serving = false;
};
[[nodiscard]] GatewayState gatewayState();

}  // namespace vornelle
