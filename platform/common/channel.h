// One end of a connection, or a listener, as a platform provides it below SocketControl. Nothing here blocks
// and nothing here calls a handler.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

#include "platform/socket.h"

namespace vornelle {

// Told by the platform that something about its channel has changed: bytes or a connection arrived, room for
// sending, the peer has finished, the connection stands or broke.
class ChannelOwner {
 public:
  virtual ~ChannelOwner() = default;
  virtual void ready() = 0;
};

class Channel {
 public:
  enum class Peer { connecting, open, finished, broken };  // finished: sends no more, may still read

  // Drops what it stands for at once: no linger, nothing flushed.
  virtual ~Channel() = default;

  [[nodiscard]] virtual int localPort() const = 0;

  // A listener's next waiting connection; null when there is none.
  [[nodiscard]] virtual std::unique_ptr<Channel> takeConnection() { return nullptr; }

  [[nodiscard]] virtual Peer peer() = 0;            // as of now
  [[nodiscard]] virtual std::size_t waiting() = 0;  // bytes that receive() would find
  [[nodiscard]] virtual std::string receive(std::size_t most) = 0;
  // How many of the bytes were taken. 0 where there is no room, and where the connection is broken.
  [[nodiscard]] virtual std::size_t send(std::string_view bytes) = 0;
  // Called in place of a plain destruction: the unsent bytes follow as the peer takes them, then the stream
  // ends.
  virtual void finish(std::unique_ptr<Channel> self, std::string unsent) = 0;

  std::weak_ptr<ChannelOwner> owner;

 protected:
  void tellOwner() const {
    if (const auto told = owner.lock()) told->ready();
  }
};

// Null when it cannot be had.
[[nodiscard]] std::unique_ptr<Channel> openListener(LoopbackAddress address, int port);
[[nodiscard]] std::unique_ptr<Channel> openConnection(LoopbackAddress address, int port);

}  // namespace vornelle
