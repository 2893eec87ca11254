// Event-driven TCP sockets on the loopback interface, in the shape of a socket control: operations that never
// block, and events that the event loop delivers. The program is the one that is called: no socket of this
// kind calls out.
//
// Order of events: ConnectionRequest for a listener; DataArrival, SendComplete, Close for a connection.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace vornelle {

enum class LoopbackAddress { ipv4, ipv6 };  // 127.0.0.1 and [::1]

class SocketControl {
 public:
  using RequestId = std::intptr_t;

  SocketControl();
  ~SocketControl();  // closes gracefully, as close() does
  SocketControl(const SocketControl&) = delete;
  SocketControl& operator=(const SocketControl&) = delete;

  // Listens on the address and port (1 to 65535, others fail). False when the port cannot be had. On POSIX
  // systems the port is taken with SO_REUSEADDR, so that a restart gets its port back; on Windows
  // exclusively.
  [[nodiscard]] bool listen(LoopbackAddress address, int port);

  // Takes over the connection that a ConnectionRequest event announced. Only valid inside that event's
  // handler; a request that nobody has accepted when the handler returns is dropped.
  [[nodiscard]] bool accept(RequestId request);

  // Everything that has arrived, at most 16 MiB at once: a request that was sent in one piece is to be read
  // in one piece. DataArrival comes again while more is waiting. On Windows a socket whose data is not read
  // hears of nothing that comes behind it, neither more data nor the orderly end, until it is read.
  [[nodiscard]] std::string getData();

  // Queues the bytes for sending. True when the socket is connected (also when the other side has gone
  // meanwhile); then exactly one SendComplete follows: when the last byte has been handed to the operating
  // system, or when the connection is lost. An answer that fits the send buffer is handed over in this call,
  // and its SendComplete is then served by the next doEvents() or waitEvents().
  [[nodiscard]] bool sendData(std::string_view bytes);

  // Graceful close: what was sent arrives, even where the other side had sent more than was read. No event
  // follows.
  void close();

  [[nodiscard]] bool isOpen() const;
  [[nodiscard]] int localPort() const;  // 0 when not open

  // From now on its events are served in the middle of a wait for a mail server too, when those of all other
  // sockets wait (platform/meanwhile.h). A connection that is accepted says so for itself.
  void serveMeanwhile();

  std::function<void(RequestId)> onConnectionRequest;
  std::function<void()> onDataArrival;
  std::function<void()> onSendComplete;
  std::function<void()> onClose;

  struct Impl;

 private:
  std::shared_ptr<Impl> impl_;
};

}  // namespace vornelle
