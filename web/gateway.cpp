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
#include "core/activity.h"
#include "core/settings.h"
#include "pages/status.h"
#include "platform/clock.h"
#include "platform/events.h"
#include "platform/meanwhile.h"
#include "platform/socket.h"
#include "web/entry_check.h"
#include "web/gateway_answer.h"
#include "web/guide.h"
#include "web/http_cmds.h"
#include "web/http_request_parser.h"
#include "web/message_views.h"
#include "web/progress_page.h"
#include "web/request_origin.h"
#include "web/session.h"
#include "web/short_page.h"

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
  std::vector<PageWork> serving;  // what is being served, one in the middle of the other
  AnswerRequest answer;
  Timer retry{50, false};    // runs while requests wait for what is under way
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

// No page of another site may end the program, log the user out or post a form; what the user types or has
// bookmarked is taken, and so are our own pages. A program on another port of this machine counts as another
// site too. Clients that say nothing about it are taken, but not for everything: the page table tells.
bool isForeign(const HttpRequest& request, Caller caller) {
  const std::string_view target = request.target;
  const PageAsker asker = pageTraits(target.substr(0, target.find('?'))).asker;
  if (asker == PageAsker::anybody && request.method != "POST") return false;
  if (caller == Caller::anotherSite) return true;
  if (request.field("Sec-Fetch-Site")) return false;
  if (asker == PageAsker::saidOwnPage) return true;
  const std::optional<std::string_view> origin = request.field("Origin");
  if (!origin) return false;
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
  const Caller caller = callerOf([&](std::string_view name) { return request.field(name); });
  if (caller == Caller::upgrade) return 403;
  if (caller == Caller::ahead) return 503;
  if (isForeign(request, caller)) return 403;
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

PageTraits traitsOf(const Connection& connection) {
  return pageTraits(targetOf(connection.request));
}

AnswerOptions optionsFor(const Connection& connection) {
  return {!connection.closeAfterAnswer, connection.request.method == "HEAD"};
}

// What can be told without letting anything in: at any time, and nothing of it is logged.
bool answerAtOnce(Connection& connection) {
  const std::string_view target = connection.request.target;
  if (startsWithNoCase(target, "/STATUS.JSON")) {
    sendAnswer(connection, holdsSession(target) ? statusAnswer(statusJson(), optionsFor(connection))
                                                : errorAnswer(403, optionsFor(connection)));
    return true;
  }
  if (startsWithNoCase(target, "/ENTRIES.JSON")) {
    sendAnswer(connection, holdsSession(target)
                               ? statusAnswer(entryCheckJson(connection.request.body), optionsFor(connection))
                               : errorAnswer(403, optionsFor(connection)));
    return true;
  }
  if (startsWithNoCase(target, "/VIEW.HTM")) {
    const MessageView* const view = findMessageView(target);
    sendAnswer(connection,
               view ? viewAnswer(*view, optionsFor(connection)) : errorAnswer(404, optionsFor(connection)));
    return true;
  }
  if (isGuide(target)) {
    sendAnswer(connection, guideAnswer(readGuide(target), isGuidePicture(target), optionsFor(connection)));
    return true;
  }
  return false;
}

// A message is shown at an address of its own, without the session id; the pages in place of one that cannot
// be had are pages of the program.
std::string answerFor(PageKind kind, std::string body, const AnswerOptions& options) {
  if (kind != PageKind::message) return pageAnswer(kind, inBrowserForm(std::move(body)), options);
  if (isErrorPage(body)) return pageAnswer(PageKind::page, inBrowserForm(std::move(body)), options);
  const std::string address = keepMessageView({withoutConnections(std::move(body)), false});
  return address.empty() ? errorAnswer(502, options) : redirectAnswer(address, options);
}

// Serving lets events in: the browser may have gone when the answer is there.
void serve(std::uint64_t id) {
  Connection* connection = find(id);
  connection->state = Connection::State::served;
  const AnswerOptions options = optionsFor(*connection);
  const PageTraits traits = traitsOf(*connection);
  std::string text = plainText(connection->request);
  std::string().swap(connection->request.body);

  struct Serving {
    explicit Serving(PageWork work) { gateway->serving.push_back(work); }
    ~Serving() {
      if (gateway) gateway->serving.pop_back();
    }
  } const serving(traits.work);
  std::optional<std::string> answer = gateway->answer(std::move(text));
  connection = find(id);
  if (connection == nullptr) return;
  sendAnswer(*connection,
             answer ? answerFor(traits.kind, std::move(*answer), options) : errorAnswer(502, options));
}

// Something is under way that other requests must not disturb: an action or a fetch of ours, or a task that
// the timer, the window or the plain wire has begun.
bool isBusy() {
  return waitingForServer() || underWay().has_value() ||
         (!gateway->serving.empty() && gateway->serving.front() != PageWork::files);
}

enum class Turn { serve, progress, wait };

// Pages that take files alone are served in the middle of what is under way, one at a time. Those that would
// take the mail component away wait a moment, and then show how far it is; so do those that would put other
// messages under the numbers of a form that waits. Actions wait.
Turn turnOf(const Connection& connection, bool formWaits) {
  const std::vector<PageWork>& serving = gateway->serving;
  if (serving.empty() && !isBusy()) return Turn::serve;
  if (!serving.empty() && (serving.size() > 1 || serving.back() == PageWork::files)) return Turn::wait;
  const PageTraits traits = traitsOf(connection);
  switch (traits.work) {
    case PageWork::files:
      if (!formWaits || traits.rows != PageRows::fills) return Turn::serve;
      [[fallthrough]];
    case PageWork::mailbox:
      return connection.request.method != "POST" &&
                     monotonicMilliseconds() - connection.lastActivity >= kGatewayProgressMilliseconds
                 ? Turn::progress
                 : Turn::wait;
    case PageWork::action:
      return Turn::wait;
  }
  return Turn::wait;
}

// The first request of the queue whose turn it is. False when there is none.
bool serveNext() {
  bool formWaits = false;  // whose messages go by the row tables
  for (auto waiting = gateway->queue.begin(); waiting != gateway->queue.end(); ++waiting) {
    Connection* const connection = find(*waiting);
    const Turn turn = turnOf(*connection, formWaits);
    if (turn == Turn::wait) {
      if (!isBusy()) return false;  // in their order
      formWaits = formWaits || traitsOf(*connection).rows == PageRows::reads;
      continue;
    }
    const std::uint64_t id = *waiting;
    gateway->queue.erase(waiting);
    if (turn == Turn::serve) {
      serve(id);
    } else {
      sendAnswer(*connection, pageAnswer(PageKind::page, progressPage(), optionsFor(*connection)));
    }
    return true;
  }
  return false;
}

// What waits now, and what comes while it is served, has its turn. In the middle of something that goes on
// only when this returns no more is served than waits now; in the middle of a wait for a server one, since it
// is looked again soon.
void serveQueue() {
  std::size_t most = waitingForServer() ? 1 : gateway->queue.size();
  while (gateway && (most > 0 || (gateway->serving.empty() && !isBusy())) && serveNext()) {
    if (most > 0) --most;
  }
  if (gateway) gateway->retry.setEnabled(!gateway->queue.empty());
}

// ---- reading ----

void enqueue(Connection& connection) {
  connection.closeAfterAnswer = !wantsKeepAlive(connection.request);
  if (answerAtOnce(connection)) return;
  if (gateway->queue.size() >= static_cast<std::size_t>(kGatewayQueueLimit)) {
    refuse(connection, 503, !connection.closeAfterAnswer);
    return;
  }
  connection.state = Connection::State::waiting;
  connection.lastActivity = monotonicMilliseconds();
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
  connection->socket.serveMeanwhile();
  if (!connection->socket.accept(requestId)) return;
  connection->socket.onDataArrival = [id] { readRequests(id); };
  connection->socket.onSendComplete = [id] { answerSent(id); };
  connection->socket.onClose = [id] {
    drop(id);
    armClock();
  };
  gateway->connections.emplace(id, std::move(connection));
}

// Answers 408 to each request that has begun and has not got on for too long, and sets the clock for the next
// one.
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
  gateway->listener.serveMeanwhile();
  gateway->clock.onTick = clockTick;
  gateway->retry.onTick = serveQueue;
  setMeanwhile([] {
    if (gateway && !gateway->queue.empty()) serveQueue();
  });
  if (!gateway->listener.listen(LoopbackAddress::ipv6, gateway->port)) gateway.reset();
}

GatewayState gatewayState() {
  if (!gateway) return {};
  return {gateway->connections.size(), gateway->queue.size(), !gateway->serving.empty()};
}

}  // namespace vornelle
