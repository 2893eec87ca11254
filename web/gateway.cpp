#include "web/gateway.h"

#include <algorithm>
#include <deque>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/module_state.h"
#include "base/text.h"
#include "core/settings.h"
#include "platform/clock.h"
#include "platform/events.h"
#include "platform/socket.h"
#include "web/gateway_answer.h"
#include "web/http_cmds.h"
#include "web/http_request_parser.h"

namespace vornelle {
namespace {

// Bytes of later requests that are held while one is being answered; a client that sends more has to wait.
constexpr std::size_t kMaxUnread = kMaxHeaderBlock + kMaxBody;

struct Connection {
  enum class State { reading, waiting, served, answering };

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

struct Gateway {
  SocketControl listener;
  std::map<std::uint64_t, std::unique_ptr<Connection>> connections;
  std::uint64_t nextId = 1;
  std::deque<std::uint64_t> queue;
  bool serving = false;
  AnswerRequest answer;
  Timer clock{1000, false};  // runs only while a request is being read
  int port = 0;
};

std::unique_ptr<Gateway> gateway;
const ModuleState gatewayModule([] { gateway.reset(); });

Connection* find(std::uint64_t id) {
  if (!gateway) return nullptr;
  const auto found = gateway->connections.find(id);
  return found == gateway->connections.end() ? nullptr : found->second.get();
}

void readRequests(std::uint64_t id);
void serveQueue();

void drop(std::uint64_t id) {
  std::erase(gateway->queue, id);
  gateway->connections.erase(id);
}

void armClock() {
  bool underWay = false;
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

// ---- serving ----

// Browsers ask for this name by themselves where a page names no icon, as messages do.
std::string_view targetOf(const HttpRequest& request) {
  return equalsNoCase(request.target, "/favicon.ico") ? "/vornelle.ico" : std::string_view(request.target);
}

// The request as the plain listener would get it. Parameters are looked for in the whole text, header fields
// included, so only fields that a parameter cannot be mistaken in go along: a cookie of another program on
// this machine would be found before the form.
std::string plainText(const HttpRequest& request) {
  std::string text = request.method == "POST" ? "POST " : "GET ";
  text.append(targetOf(request)).append(" HTTP/1.1\r\n");
  for (const std::string_view name : {"Host", "Content-Type", "Content-Length"}) {
    if (const auto value = request.field(name)) text.append(name).append(": ").append(*value).append("\r\n");
  }
  return text.append("\r\n").append(request.body);
}

// Serving lets events in: the browser may have gone when the answer is there.
void serve(std::uint64_t id) {
  Connection* connection = find(id);
  if (connection == nullptr) return;
  connection->state = Connection::State::served;
  connection->closeAfterAnswer = !wantsKeepAlive(connection->request);
  const AnswerOptions options{!connection->closeAfterAnswer, connection->request.method == "HEAD"};
  const PageKind kind = pageTraits(targetOf(connection->request)).kind;
  std::string text = plainText(connection->request);
  std::string().swap(connection->request.body);

  std::optional<std::string> answer = gateway->answer(std::move(text));
  connection = find(id);
  if (connection == nullptr) return;
  sendAnswer(*connection, answer ? pageAnswer(kind, std::move(*answer), options) : errorAnswer(502, options));
}

// One request after the other. What is asked for while one is being served waits until that is done.
void serveQueue() {
  if (gateway->serving) return;
  struct Serving {
    Serving() { gateway->serving = true; }
    ~Serving() {
      if (gateway) gateway->serving = false;
    }
  } const serving;
  while (gateway && !gateway->queue.empty()) {
    const std::uint64_t id = gateway->queue.front();
    gateway->queue.pop_front();
    serve(id);
  }
}

// ---- reading ----

void enqueue(Connection& connection) {
  if (gateway->queue.size() >= static_cast<std::size_t>(kGatewayQueueLimit)) {
    refuse(connection, 503, wantsKeepAlive(connection.request));
    return;
  }
  connection.state = Connection::State::waiting;
  gateway->queue.push_back(connection.id);
  serveQueue();
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
  armClock();
}

}  // namespace

void gatewayStart(AnswerRequest answer) {
  gateway = std::make_unique<Gateway>();
  gateway->answer = std::move(answer);
  gateway->port = settings.httpPort;
  gateway->listener.onConnectionRequest = acceptConnection;
  gateway->clock.onTick = clockTick;
  if (!gateway->listener.listen(LoopbackAddress::ipv6, gateway->port)) gateway.reset();
}

GatewayState gatewayState() {
  if (!gateway) return {};
  return {gateway->connections.size(), gateway->queue.size(), gateway->serving};
}

}  // namespace vornelle
