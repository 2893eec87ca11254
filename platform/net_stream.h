// A blocking byte stream to a mail server, every wait bounded. The protocol code above it does not know what
// carries its bytes: TLS lies over one as over another (platform/tls.h).
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace vornelle {

class NetStream {
 public:
  virtual ~NetStream() = default;

  // Waits until something has arrived and reads at most `size` bytes. 0: the peer has closed. nullopt:
  // time-out or a broken connection.
  [[nodiscard]] virtual std::optional<std::size_t> read(char* buffer, std::size_t size,
                                                        int timeoutMilliseconds) = 0;

  // Sends all the bytes; false on time-out (no progress for that long) or a broken connection.
  [[nodiscard]] virtual bool write(std::string_view bytes, int timeoutMilliseconds) = 0;
};

// Why there is no connection, the more telling ones later: where several addresses have been tried, the
// highest counts.
enum class NetProblem { none, unreachable, timedOut, refused, nameNotFound };

// Resolves the host (name or address) and connects, all within the time-out: its addresses are tried in turn,
// each for its share of the time that is left. The system's look-up of a name cannot be told to hurry; one
// that takes longer is left to end by itself, aside from the program's one thread, and touches nothing of the
// program's. Null on failure; `problem`, where it is given, then tells why. Closing is done by the
// destructor.
[[nodiscard]] std::unique_ptr<NetStream> openNetStream(const std::string& host, int port,
                                                       int timeoutMilliseconds,
                                                       NetProblem* problem = nullptr);

}  // namespace vornelle
