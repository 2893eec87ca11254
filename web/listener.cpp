#include "web/listener.h"

#include <map>
#include <memory>
#include <utility>

#include "base/module_state.h"
#include "base/numbers.h"
#include "core/event_log.h"
#include "core/form1.h"
#include "core/settings.h"
#include "pages/message_page.h"
#include "platform/events.h"
#include "platform/shell.h"
#include "platform/socket.h"
#include "web/http_cmds.h"
#include "web/request.h"
#include "web/request_origin.h"
#include "web/request_turn.h"

namespace vornelle {

WebServer webServer;

namespace {

constexpr std::int32_t kMaxRequests = 100;
constexpr std::int32_t kLastElement = 32767;  // element indices have 16 bits

struct Element {
  SocketControl socket;
  int sendsUnderWay = 0;  // their SendComplete events are still to come
  bool peerGone = false;  // everything that it had sent has been read
  bool refused = false;   // a browser has asked there for another site
};

// Never destroyed: the event loop may be gone before it would be its turn.
std::map<std::int32_t, Element>& sckWS() {
  static auto& elements = *new std::map<std::int32_t, Element>;
  return elements;
}

Element* element(std::int32_t index) {
  const auto found = sckWS().find(index);
  return found == sckWS().end() ? nullptr : &found->second;
}

// Handlers that wait for a request line now, one nested in the other.
int waitingHandlers = 0;

// The number of the request whose answer was sent last. While it is that of the path in requestPath, that
// path's answer is under way, and a handler that still waits leaves the path alone: an action is not run
// again because its answer is too large to be handed over at once.
std::uint64_t answeredRequest = 0;

const ModuleState listenerState([] {
  sckWS().clear();
  webServer = {};
  waitingHandlers = 0;
  answeredRequest = 0;
});

// An element whose connection is closed, or whose peer has gone, is of no use once a newer one has come:
// answers and closes go to the newest element only. Dead connections thus hold no descriptors.
void releaseIfDone(std::int32_t index) {
  if (index == 0 || index >= webServer.socketIndex) return;
  const Element* const old = element(index);
  if (!old) return;
  const bool gone = old->peerGone && old->sendsUnderWay == 0;
  if (gone || !old->socket.isOpen()) sckWS().erase(index);
}

// A page of another site can make a browser send anything here, and would end the program or use up its
// connections. What a browser says to be such a request touches nothing; it is closed without an answer.
bool isForAnotherSite(std::string_view received) {
  if (!received.starts_with("GET") && !received.starts_with("POST")) return false;
  return callerOf([&](std::string_view name) { return fieldIn(received, name); }) != Caller::taken;
}

void sckWS_DataArrival(std::int32_t index) {
  const PlainTurn turn;
  Element* const sender = element(index);
  if (!sender) return;
  std::string received = sender->socket.getData();
  if (isForAnotherSite(received)) {
    sender->refused = true;
    sender->socket.close();
    return;
  }
  readRequest(std::move(received));
}

void sckWS_SendComplete(std::int32_t index) {
  const PlainTurn turn;
  if (Element* const sent = element(index)) --sent->sendsUnderWay;
  LogWindowAdd(form1.requestPath + " request complete!");
  if (!form1.requestPath.empty()) {
    form1.requestPath = "";
    // The newest connection, which need not be the one whose send is complete.
    if (Element* const newest = element(webServer.socketIndex)) {
      newest->socket.close();
      newest->sendsUnderWay = 0;
    }
  }
  releaseIfDone(index);
}

void sckWS_Close(std::int32_t index) {
  if (Element* const left = element(index)) left->peerGone = true;
  releaseIfDone(index);
}

bool loadAndAccept(std::int32_t index, SocketControl::RequestId request) {
  if (index > kLastElement) return false;
  SocketControl& socket = sckWS()[index].socket;
  socket.onDataArrival = [index] { sckWS_DataArrival(index); };
  socket.onSendComplete = [index] { sckWS_SendComplete(index); };
  socket.onClose = [index] { sckWS_Close(index); };
  return socket.accept(request);
}

void restartTimeout() {
  form1.TimerWS_Timeout.setEnabled(false);
  form1.TimerWS_Timeout.setEnabled(true);
}

bool requestIsPending() {
  return !form1.requestPath.empty() && answeredRequest != form1.requestNumber;
}

// Nobody is left to be answered on that connection, and no request will come on it. Past the last index there
// has never been a connection.
bool peerHasGone(std::int32_t index) {
  const Element* const asking = element(index);
  return asking ? asking->peerGone || asking->refused : index <= kLastElement;
}

void waitForRequest(std::int32_t index) {
  ++waitingHandlers;
  while (!requestIsPending() && !form1.wsTimedOut && !peerHasGone(index)) waitEvents();
  --waitingHandlers;
}

void answerRequest() {
  const std::uint64_t number = form1.requestNumber;
  const std::optional<std::string> answer = dispatchRequest();
  if (!answer) return;
  Element* const newest = element(webServer.socketIndex);
  if (newest && newest->socket.sendData(*answer)) {
    ++newest->sendsUnderWay;
    answeredRequest = number;
  } else if (form1.requestNumber == number) {
    // No SendComplete will empty the path. It must not stay: the next connection would find it and run the
    // same action, a deletion perhaps, once more. A path that has been read meanwhile is another request and
    // stays.
    form1.requestPath = "";
  }
}

// The index of a connection that was refused is free again: otherwise a page of another site could use them
// all up.
void takeBackIndex(std::int32_t index) {
  const Element* const left = element(index);
  if (!left || !left->refused || webServer.socketIndex != index) return;
  sckWS().erase(index);
  --webServer.socketIndex;
}

void sckWS_ConnectionRequest(SocketControl::RequestId request) {
  const PlainTurn turn;
  const std::int32_t index = ++webServer.socketIndex;  // a refused request uses an index up, too
  releaseIfDone(index - 1);
  if (++webServer.activeRequests != webServer.maxRequests) {
    // Going on without a connection is what happens past the last index: the request gets no answer.
    (void)loadAndAccept(index, request);
    restartTimeout();
    form1.wsTimedOut = false;
    waitForRequest(index);
    form1.TimerWS_Timeout.setEnabled(false);
    if (requestIsPending()) answerRequest();
    // Handlers below this one may still wait. Without the timer they would do so for ever, and with them
    // whatever let them in, a filter run perhaps.
    if (waitingHandlers > 0) restartTimeout();
    takeBackIndex(index);
  }
  --webServer.activeRequests;
}

// False when no port from settings.httpPort upward can be had.
bool listenOnFreePort(SocketControl& socket) {
  if (settings.httpPort == 0) settings.httpPort = 80;
  if (settings.httpPort < 0) settings.httpPort = 1;  // where the walk upward gets to in the end
  for (; settings.httpPort <= kLastPort; ++settings.httpPort) {
    if (socket.listen(LoopbackAddress::ipv4, settings.httpPort)) return true;
  }
  return false;
}

}  // namespace

void listenerStart() {
  webServer = WebServer{0, 0, kMaxRequests, "index.htm", notFoundPage()};
  form1.TimerWS_Timeout.onTick = [] { form1.wsTimedOut = true; };
  SocketControl& socket = sckWS()[0].socket;
  socket.close();
  socket.onConnectionRequest = sckWS_ConnectionRequest;
  if (listenOnFreePort(socket)) return;
  messageBox("Error on loading winsock.", MessageIcon::information);
  socket.close();
}

int listenerPort() {
  const Element* const listener = element(0);
  return listener ? listener->socket.localPort() : 0;
}

std::size_t loadedConnections() {
  return sckWS().size() - sckWS().count(0);
}

}  // namespace vornelle
