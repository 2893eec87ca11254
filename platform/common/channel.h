// What a platform provides below SocketControl: connections, and listeners that bring them. Nothing here
// blocks and nothing here calls a handler.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

#include "platform/socket.h"

namespace vornelle {

// Told by the platform that something about its channel has changed: bytes or a connection arrived, room for
// sending, the peer has finished, the connection broke.
class ChannelOwner {
 public:
  virtual ~ChannelOwner() = default;
  virtual void ready() = 0;
};

class Channel {
 public:
  virtual ~Channel() = default;

  [[nodiscard]] virtual int localPort() const = 0;  // 0 when it cannot be told

  std::weak_ptr<ChannelOwner> owner;

 protected:
  void tellOwner() const {
    if (const auto told = owner.lock()) told->ready();
  }
};

// One end of a connection. Its destruction drops it at once: no linger, nothing flushed.
class Connection : public Channel {
 public:
  enum class Peer { open, finished, broken };  // finished: sends no more, may still read

  [[nodiscard]] virtual Peer peer() = 0;            // as of now
  [[nodiscard]] virtual std::size_t waiting() = 0;  // bytes that receive() would find
  [[nodiscard]] virtual std::string receive(std::size_t most) = 0;
  // How many of the bytes were taken. 0 where there is no room, and where the connection is broken.
  [[nodiscard]] virtual std::size_t send(std::string_view bytes) = 0;
  // Called in place of a plain destruction: the unsent bytes follow as the peer takes them, then the stream
  // ends.
  virtual void finish(std::unique_ptr<Connection> self, std::string unsent) = 0;
};

// Its destruction ends the listening and drops who still waits.
class Listener : public Channel {
 public:
  // The next waiting connection; null when there is none.
  [[nodiscard]] virtual std::unique_ptr<Connection> takeConnection() = 0;
};

// Null when it cannot be had.
[[nodiscard]] std::unique_ptr<Listener> openListener(LoopbackAddress address, int port);

}  // namespace vornelle
