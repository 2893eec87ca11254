// TLS over a connection: the one place that waits, on every system. See tls_engine.h for what differs between
// them.
//
//   handshaking --> up --> ended    the peer has said that it ends: read() gives 0, write() fails
//        |          |
//        |          +----> broken   cut off, tampered with, or a record sent by half: everything fails
//        v
//   no stream, TlsResult::problem says why
//
// 1. What the engine has for the peer is sent after every call of it, reads included: an answer to a key
//    update is no less urgent than a message.
// 2. The peer's first byte tells whether it speaks TLS: a handshake or an alert. Some systems would take a
//    greeting in plain text for the length of a record, and wait for it.
// 3. A line that ends without close_notify is broken: what came before may have been cut off by anybody.
// 4. A read's wait starts anew with every piece that arrives, since a record is of use only as a whole. Ten
//    time-outs are the most that one read takes.
#pragma once

#include <memory>

#include "platform/common/tls_engine.h"

namespace vornelle {

// startTls() with the engine that the system has; unavailable where there is none.
[[nodiscard]] TlsResult startTlsWith(std::unique_ptr<TlsEngine> engine, std::unique_ptr<NetStream> plain,
                                     int timeoutMilliseconds);

}  // namespace vornelle
