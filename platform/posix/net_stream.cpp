// NetStream over TCP.
#include "platform/net_stream.h"

#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <ctime>
#include <memory>

#include "base/punycode.h"
#include "platform/clock.h"
#include "platform/common/blocking.h"
#include "platform/common/connecting.h"
#include "platform/unix/descriptor.h"

namespace vornelle {
namespace {

// It has come also where the connection is broken: the next call says so.
Waited waitFor(int descriptor, short events, std::int64_t until) {
  return waitTold(millisecondsUntil(until), [&](std::int64_t milliseconds) {
    const std::int64_t end = monotonicMilliseconds() + milliseconds;
    while (true) {
      pollfd look{descriptor, events, 0};
      const int count = poll(&look, 1, static_cast<int>(millisecondsUntil(end)));
      if (count > 0) return Waited::come;
      if (count == 0) return Waited::timeOver;
      if (errno != EINTR) return Waited::failed;
    }
  });
}

class TcpStream final : public NetStream {
 public:
  explicit TcpStream(Descriptor socket) : socket_(std::move(socket)) {}

  [[nodiscard]] std::optional<std::size_t> read(char* buffer, std::size_t size,
                                                int timeoutMilliseconds) override {
    const std::int64_t until = monotonicMilliseconds() + timeoutMilliseconds;
    serveMeanwhileIfDue();
    while (true) {
      const ssize_t got = recv(socket_.get(), buffer, size, 0);
      if (got >= 0) return static_cast<std::size_t>(got);
      if (errno == EINTR) continue;
      if (errno != EAGAIN && errno != EWOULDBLOCK) return std::nullopt;
      if (waitFor(socket_.get(), POLLIN, until) != Waited::come) return std::nullopt;
    }
  }

  [[nodiscard]] bool write(std::string_view bytes, int timeoutMilliseconds) override {
    std::int64_t until = monotonicMilliseconds() + timeoutMilliseconds;
    while (!bytes.empty()) {
      const ssize_t sent = send(socket_.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
      if (sent > 0) {
        bytes.remove_prefix(static_cast<std::size_t>(sent));
        until = monotonicMilliseconds() + timeoutMilliseconds;
        continue;
      }
      if (sent < 0 && errno == EINTR) continue;
      if (sent < 0 && errno != EAGAIN && errno != EWOULDBLOCK) return false;
      if (waitFor(socket_.get(), POLLOUT, until) != Waited::come) return false;
    }
    return true;
  }

 private:
  Descriptor socket_;
};

NetProblem problemOf(int error) {
  if (error == ECONNREFUSED) return NetProblem::refused;
  return error == ETIMEDOUT ? NetProblem::timedOut : NetProblem::unreachable;
}

Descriptor connectTo(const addrinfo& address, std::int64_t until, NetProblem& problem) {
  const auto fail = [&problem](NetProblem why) {
    problem = std::max(problem, why);
    return Descriptor();
  };
  Descriptor socket(
      ::socket(address.ai_family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, address.ai_protocol));
  if (!socket.isOpen()) return fail(NetProblem::unreachable);
  if (connect(socket.get(), address.ai_addr, address.ai_addrlen) != 0) {
    if (errno != EINPROGRESS) return fail(problemOf(errno));
    const Waited waited = waitFor(socket.get(), POLLOUT, until);
    if (waited != Waited::come) return fail(problemOfWait(waited));
    int error = 0;
    socklen_t length = sizeof error;
    if (getsockopt(socket.get(), SOL_SOCKET, SO_ERROR, &error, &length) != 0 || error != 0)
      return fail(problemOf(error));
  }
  const int on = 1;
  setsockopt(socket.get(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
  return socket;
}

// One look-up of a name. The system does it on a thread of its own, which touches nothing but this.
struct LookUp {
  std::string host;
  std::string port;
  addrinfo hints{};
  gaicb request{};

  // Names beyond ASCII go by the form that the name system knows.
  LookUp(const std::string& hostName, int portNumber)
      : host(hostToAscii(hostName).value_or(hostName)), port(std::to_string(portNumber)) {
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = AI_NUMERICSERV;
  }
  ~LookUp() {
    if (request.ar_result) freeaddrinfo(request.ar_result);
  }
  LookUp(const LookUp&) = delete;
  LookUp& operator=(const LookUp&) = delete;

  [[nodiscard]] bool finished() const { return gai_error(const_cast<gaicb*>(&request)) != EAI_INPROGRESS; }

  [[nodiscard]] Waited ends(std::int64_t milliseconds) const {
    const std::int64_t end = monotonicMilliseconds() + milliseconds;
    while (!finished()) {
      const std::int64_t left = millisecondsUntil(end);
      if (left == 0) return Waited::timeOver;
      const timespec time{static_cast<time_t>(left / 1000), static_cast<long>(left % 1000 * 1000000)};
      const gaicb* const waitedFor[] = {&request};
      const int error = gai_suspend(waitedFor, 1, &time);
      // glibc tells that the time is over as an error of the system, not as EAI_AGAIN.
      const bool mayGoOn = error == 0 || error == EAI_AGAIN || error == EAI_INTR || error == EAI_ALLDONE ||
                           millisecondsUntil(end) == 0;
      if (!mayGoOn) return Waited::failed;
    }
    return Waited::come;
  }

  // An address needs no looking up.
  [[nodiscard]] bool isAddress() {
    addrinfo numeric = hints;
    numeric.ai_flags |= AI_NUMERICHOST;
    return getaddrinfo(host.c_str(), port.c_str(), &numeric, &request.ar_result) == 0;
  }

  [[nodiscard]] Waited run(std::int64_t until) {
    if (isAddress()) return Waited::come;
    request.ar_name = host.c_str();
    request.ar_service = port.c_str();
    request.ar_request = &hints;
    gaicb* list[] = {&request};
    if (getaddrinfo_a(GAI_NOWAIT, list, 1, nullptr) != 0) return Waited::come;  // it brings nothing
    const Waited waited =
        waitTold(millisecondsUntil(until), [this](std::int64_t milliseconds) { return ends(milliseconds); });
    if (waited != Waited::come) gai_cancel(&request);
    return waited;
  }

  [[nodiscard]] const addrinfo* firstAddress() const { return request.ar_result; }
};

}  // namespace

std::unique_ptr<NetStream> openNetStream(const std::string& host, int port, int timeoutMilliseconds,
                                         NetProblem* problem) {
  const auto connect = [](const addrinfo& address, std::int64_t until, NetProblem& why) {
    Descriptor socket = connectTo(address, until, why);
    return socket.isOpen() ? std::make_unique<TcpStream>(std::move(socket)) : nullptr;
  };
  return connectByName<LookUp>(host, port, timeoutMilliseconds, problem, connect);
}

}  // namespace vornelle
