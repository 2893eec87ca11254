// What TLS needs of a system: bytes in, bytes out, no waiting and no connection. TlsStream (tls_stream.h)
// does all the waiting; an engine only turns what the peer sent into plain text and the caller's bytes into
// records.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "platform/tls.h"

namespace vornelle {

// The finding about the peer's certificate, or why a handshake failed.
struct TlsFinding {
  TlsProblem problem = TlsProblem::none;
  std::string certificateName = {};
  std::string fingerprint = {};
  std::string system = {};
};

class TlsEngine {
 public:
  enum class State {
    ready,       // the call has done what it was asked for
    wantsBytes,  // it needs more from the peer; call it again after receive()
    closed,      // the peer has said that it ends (close_notify)
    failed,      // nothing works any more; problem() says why
  };

  virtual ~TlsEngine() = default;

  // Bytes from the peer, in any pieces.
  virtual void receive(std::string_view bytes) = 0;
  // Bytes for the peer. Any other call may leave some, a read and a failed call too.
  [[nodiscard]] virtual std::string takeOutput() = 0;

  // The next steps of the handshake. The first call needs no bytes.
  [[nodiscard]] virtual State handshake() = 0;
  // ready: at least one byte of plain text has been put into the buffer.
  [[nodiscard]] virtual State read(char* buffer, std::size_t size, std::size_t& got) = 0;
  // All of the bytes become records: ready or failed.
  [[nodiscard]] virtual State write(std::string_view bytes) = 0;
  // Leaves a close_notify for the peer.
  virtual void close() = 0;

  // The line has ended behind the last receive(). True where the peer had said so in a way that read() cannot
  // tell.
  [[nodiscard]] virtual bool endsHere() const = 0;
  // True where this handshake offers no TLS 1.3 although another one could.
  [[nodiscard]] virtual bool holdsBackNewest() const = 0;
  // After the handshake: "TLS 1.2"; "" where the system does not tell.
  [[nodiscard]] virtual std::string protocol() const = 0;
  // After the handshake, at most until the time (of monotonicMilliseconds()) has come: timedOut then. A
  // certificate with the accepted fingerprint is found good whatever else is wrong with it.
  [[nodiscard]] virtual TlsFinding check(std::int64_t until) = 0;
  // After `failed`: version, refused, unavailable or outOfMemory, and the system's words.
  [[nodiscard]] virtual TlsFinding failure() const = 0;
};

}  // namespace vornelle
