#include "web/gateway.h"

#include <algorithm>
#include <deque>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "base/text.h"
#include "core/form1.h"
#include "core/settings.h"
#include "platform/clock.h"
#include "platform/events.h"
#include "platform/socket.h"
#include "web/gateway_answer.h"
#include "web/http_request_parser.h"
#include "web/listener.h"

namespace vornelle {
namespace {

// Bytes of later requests that are held while one is being answered; a client that sends more has to wait.
constexpr std::size_t kMaxUnread = kMaxHeaderBlock + kMaxBody;

struct Connection {
  enum class State { reading, waiting, forwarded, answering };

  std::uint64_t id = 0;
  SocketControl socket;
  State state = State::reading;
  std::string unread;
  HttpRequestParser parser;
  HttpRequest request;
  bool closeAfterAnswer = false;
  std::int64_t lastActivity = 0;  // monotonic; while reading a request, the time its first byte came
  bool requestBegun = false;
};

// The request in flight. `connectionId` may name a connection that has gone: then the answer is dropped.
struct Flight {
  std::unique_ptr<SocketControl> socket;
  std::uint64_t connectionId = 0;
  std::string bytes;  // the request, until it is sent
  std::string answer;
  PageKind kind = PageKind::unknown;
  bool headOnly = false;
  int idleTicks = 0;  // ticks at which the plain listener was handling nothing and nothing more had come
  std::size_t answerAtLastTick = 0;
};

struct Gateway {
  SocketControl listener;
  std::map<std::uint64_t, std::unique_ptr<Connection>> connections;
  std::uint64_t nextId = 1;
  std::deque<std::uint64_t> queue;
  std::unique_ptr<Flight> flight;
  Timer clock{1000, false};  // runs only while something is under way
  int port = 0;
};

std::unique_ptr<Gateway> gateway;

Connection* find(std::uint64_t id) {
  if (!gateway) return nullptr;
  const auto found = gateway->connections.find(id);
  return found == gateway->connections.end() ? nullptr : found->second.get();
}

void readRequests(std::uint64_t id);
void forwardNext();

void drop(std::uint64_t id) {
  std::erase(gateway->queue, id);
  gateway->connections.erase(id);
}

void armClock() {
  bool underWay = gateway->flight != nullptr;
  for (const auto& [id, connection] : gateway->connections) underWay = underWay || connection->requestBegun;
  gateway->clock.setEnabled(underWay);
}

// ---- which requests are taken ----

// The host is this machine's own name for itself, and the port, where there is one, is ours. Any other name
// reached us through somebody's name server (DNS rebinding).
bool isOwnAuthority(std::string_view authority) {
  for (const std::string_view host : {"localhost", "127.0.0.1", "[::1]"}) {
    if (!startsWithNoCase(authority, host)) continue;
    const std::string_view rest = authority.substr(host.size());
    return rest.empty() || rest == ":" + std::to_string(gateway->port);
  }
  return false;
}

bool isStartPage(const HttpRequest& request) {
  std::string_view path = request.target;
  path = path.substr(0, path.find('?'));
  return request.method != "POST" && (path == "/" || startsWithNoCase(path, "/INDEX.HTM"));
}

// Another site has caused the request: its link, form, picture or script. No page of another site may end the
// program, log the user out or post a form. What the user types or has bookmarked comes as "none", and our
// own pages as "same-origin"; a program on another port of this machine counts as another site too.
bool isForeign(const HttpRequest& request) {
  const std::optional<std::string_view> site = request.field("Sec-Fetch-Site");
  if (site) return !equalsNoCase(*site, "same-origin") && !equalsNoCase(*site, "none");
  // Browsers without that field still name the page that a form was posted from, unless that page asks them
  // not to, as ours do: "null" can be one of our own.
  const std::optional<std::string_view> origin = request.field("Origin");
  if (!origin || *origin == "null") return false;
  return !(startsWithNoCase(*origin, "http://") && isOwnAuthority(origin->substr(7)));
}

// 0, or the status of the refusal.
int refusal(const HttpRequest& request) {
  if (request.method != "GET" && request.method != "HEAD" && request.method != "POST") return 405;
  if (request.fieldCount("Host") > 1 || (request.fieldCount("Host") == 0 && request.minorVersion >= 1))
    return 400;
  const std::string_view authority =
      !request.authority.empty() ? std::string_view(request.authority) : request.field("Host").value_or("");
  if (!isOwnAuthority(authority)) return 421;
  if (isForeign(request) && !isStartPage(request)) return 403;
  // A page that a browser loads ahead on a guess must not act.
  if (request.listHolds("Sec-Purpose", "prefetch") || request.listHolds("Purpose", "prefetch")) return 503;
  return 0;
}

bool wantsKeepAlive(const HttpRequest& request) {
  if (request.listHolds("Connection", "close")) return false;
  return request.minorVersion >= 1 || request.listHolds("Connection", "keep-alive");
}

// ---- answering ----

void sendAnswer(Connection& connection, const std::string& bytes) {
  connection.state = Connection::State::answering;
  connection.lastActivity = monotonicMilliseconds();
  if (!connection.socket.sendData(bytes)) drop(connection.id);
}

void refuse(Connection& connection, int status, bool keepAlive) {
  connection.closeAfterAnswer = !keepAlive;
  connection.requestBegun = false;
  sendAnswer(connection, errorAnswer(status, {keepAlive, connection.request.method == "HEAD"}));
}

void answerSent(std::uint64_t id) {
  Connection* connection = find(id);
  if (connection == nullptr || connection->state != Connection::State::answering) return;
  if (connection->closeAfterAnswer) {
    connection->socket.close();
    drop(id);
    return;
  }
  connection->state = Connection::State::reading;
  connection->request = HttpRequest{};
  connection->lastActivity = monotonicMilliseconds();
  readRequests(id);
}

// ---- forwarding ----

// The request as the plain listener gets it. It looks for parameters in the whole text, header fields
// included, so only fields that a parameter cannot be mistaken in go along: a cookie of another program on
// this machine would be found before the form.
std::string plainRequest(const HttpRequest& request) {
  std::string_view target = request.target;
  // Browsers ask for this name by themselves where a page names no icon, as messages do.
  if (equalsNoCase(target, "/favicon.ico")) target = "/vornelle.ico";
  std::string bytes = request.method == "POST" ? "POST " : "GET ";
  bytes.append(target).append(" HTTP/1.1\r\n");
  for (const std::string_view name : {"Host", "Content-Type", "Content-Length"}) {
    if (const auto value = request.field(name)) bytes.append(name).append(": ").append(*value).append("\r\n");
  }
  return bytes.append("\r\n").append(request.body);
}

// What the answer will be: the page that the path names, or the login page where the session test fails.
PageKind expectedKind(const HttpRequest& request) {
  const PageKind kind =
      equalsNoCase(request.target, "/favicon.ico") ? PageKind::icon : pageKind(request.target);
  const bool behindLogin = kind == PageKind::message || kind == PageKind::unknown;
  const bool live = !form1.sessionId.empty() && request.target.find(form1.sessionId) != std::string::npos;
  return behindLogin && !live ? PageKind::page : kind;
}

void finishFlight(bool answered) {
  const std::unique_ptr<Flight> flight = std::move(gateway->flight);
  if (Connection* connection = find(flight->connectionId)) {
    const bool keepAlive = !connection->closeAfterAnswer;
    const AnswerOptions options{keepAlive, flight->headOnly};
    sendAnswer(*connection, answered ? pageAnswer(flight->kind, std::move(flight->answer), options)
                                     : errorAnswer(502, options));
  }
  forwardNext();
}

void forwardNext() {
  while (!gateway->flight && !gateway->queue.empty()) {
    const std::uint64_t id = gateway->queue.front();
    gateway->queue.pop_front();
    Connection* connection = find(id);
    if (connection == nullptr) continue;
    connection->state = Connection::State::forwarded;
    connection->closeAfterAnswer = !wantsKeepAlive(connection->request);

    auto flight = std::make_unique<Flight>();
    flight->connectionId = id;
    flight->bytes = plainRequest(connection->request);
    flight->kind = expectedKind(connection->request);
    flight->headOnly = connection->request.method == "HEAD";
    connection->request.body.clear();
    flight->socket = std::make_unique<SocketControl>();
    flight->socket->onConnect = [] {
      if (!gateway->flight->socket->sendData(gateway->flight->bytes)) finishFlight(false);
    };
    flight->socket->onSendComplete = [] { std::string().swap(gateway->flight->bytes); };
    flight->socket->onDataArrival = [] {
      gateway->flight->answer += gateway->flight->socket->getData();
      if (gateway->flight->answer.size() > kGatewayAnswerLimit) finishFlight(false);
    };
    // The plain listener closes behind its answer. A page whose template is missing is empty but for its line
    // end, so no bytes at all mean that there was no answer.
    flight->socket->onClose = [] { finishFlight(!gateway->flight->answer.empty()); };

    gateway->flight = std::move(flight);
    if (!gateway->flight->socket->connect(LoopbackAddress::ipv4, gateway->port)) finishFlight(false);
  }
  armClock();
}

// ---- reading ----

void enqueue(Connection& connection) {
  if (gateway->queue.size() >= static_cast<std::size_t>(kGatewayQueueLimit)) {
    refuse(connection, 503, wantsKeepAlive(connection.request));
    return;
  }
  connection.state = Connection::State::waiting;
  gateway->queue.push_back(connection.id);
  forwardNext();
}

void readRequests(std::uint64_t id) {
  Connection* connection = find(id);
  if (connection == nullptr) return;
  // Pipelined requests are answered one after the other: the next one is read when the answer before it has
  // gone out.
  if (connection->unread.size() < kMaxUnread) connection->unread += connection->socket.getData();
  if (connection->state != Connection::State::reading || connection->unread.empty()) return;
  if (!connection->requestBegun) {
    connection->requestBegun = true;
    connection->lastActivity = monotonicMilliseconds();
  }
  switch (connection->parser.parse(connection->unread)) {
    case HttpRequestParser::Result::needMore:
      connection->requestBegun = connection->parser.begun(connection->unread);
      if (connection->parser.takeContinueWanted()) {
        // Asked before the body is sent, so that a refusal saves the sending of it.
        const int status = refusal(connection->parser.request());
        if (status != 0) {
          connection->request = connection->parser.request();
          refuse(*connection, status, false);
        } else if (!connection->socket.sendData("HTTP/1.1 100 Continue\r\n\r\n")) {
          drop(id);
        }
      }
      break;
    case HttpRequestParser::Result::complete: {
      connection->requestBegun = false;
      connection->request = std::move(connection->parser.request());
      const int status = refusal(connection->request);
      if (status == 0) {
        enqueue(*connection);
      } else {
        refuse(*connection, status, wantsKeepAlive(connection->request));
      }
      break;
    }
    case HttpRequestParser::Result::failed:
      connection->request = HttpRequest{};
      refuse(*connection, connection->parser.errorStatus(), false);
      break;
  }
  armClock();
}

void acceptConnection(SocketControl::RequestId requestId) {
  if (gateway->connections.size() >= static_cast<std::size_t>(kGatewayConnectionLimit)) {
    // Spare connections that have sent nothing, and kept-alive ones, give way to new ones.
    Connection* idle = nullptr;
    for (const auto& [id, connection] : gateway->connections) {
      if (connection->state != Connection::State::reading || connection->requestBegun) continue;
      if (idle == nullptr || connection->lastActivity < idle->lastActivity) idle = connection.get();
    }
    if (idle == nullptr) return;  // the new one is dropped
    drop(idle->id);
  }
  auto connection = std::make_unique<Connection>();
  const std::uint64_t id = gateway->nextId++;
  connection->id = id;
  connection->lastActivity = monotonicMilliseconds();
  if (!connection->socket.accept(requestId)) return;
  connection->socket.onDataArrival = [id] { readRequests(id); };
  connection->socket.onSendComplete = [id] { answerSent(id); };
  connection->socket.onClose = [id] {
    drop(id);
    armClock();
  };
  gateway->connections.emplace(id, std::move(connection));
}

void clockTick() {
  const std::int64_t now = monotonicMilliseconds();
  std::vector<std::uint64_t> late;
  for (const auto& [id, connection] : gateway->connections) {
    if (connection->state == Connection::State::reading && connection->requestBegun &&
        now - connection->lastActivity >= kGatewayRequestMilliseconds) {
      late.push_back(id);
    }
  }
  for (const std::uint64_t id : late) {
    if (Connection* connection = find(id)) {
      connection->request = HttpRequest{};
      refuse(*connection, 408, false);
    }
  }
  // A client of the plain wire that comes in between can take the answer, or the close behind it, that was
  // meant for us: both go to the newest connection. When nothing is being handled any more and nothing has
  // come, nothing will.
  if (Flight* flight = gateway->flight.get()) {
    const bool handled = webServer.activeRequests > 0 || !form1.requestPath.empty() ||
                         flight->answer.size() != flight->answerAtLastTick;
    flight->answerAtLastTick = flight->answer.size();
    flight->idleTicks = handled ? 0 : flight->idleTicks + 1;
    if (flight->idleTicks >= 3) finishFlight(!flight->answer.empty());
  }
  armClock();
}

}  // namespace

void gatewayStart() {
  gateway = std::make_unique<Gateway>();
  gateway->port = settings.httpPort;
  gateway->listener.onConnectionRequest = acceptConnection;
  gateway->clock.onTick = clockTick;
  if (!gateway->listener.listen(LoopbackAddress::ipv6, gateway->port)) gateway.reset();
}

void gatewayStop() {
  gateway.reset();
}

GatewayState gatewayState() {
  if (!gateway) return {};
  return {gateway->connections.size(), gateway->queue.size(), gateway->flight != nullptr};
}

}  // namespace vornelle
