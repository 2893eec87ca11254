// TLS with the scripted servers: nothing is encrypted, the server says how it goes.
#include "platform/tls.h"

#include "platform/modGoToSleep.h"
#include "platform/sim/stream.h"

namespace vornelle {

TlsResult startTls(std::unique_ptr<NetStream> plain, const TlsPeer& peer, int timeoutMilliseconds) {
  TlsResult result;
  auto* const stream = dynamic_cast<sim::Stream*>(plain.get());
  if (!stream) {
    result.problem = TlsProblem::unavailable;
    return result;
  }
  sim::Server& server = stream->server();
  if (!stream->sent().empty()) {
    result.problem = TlsProblem::notTls;
    return result;
  }
  if (server.closed || server.broken) {
    result.problem = TlsProblem::closed;
    return result;
  }
  if (server.stalled) {
    pause(timeoutMilliseconds);
    result.problem = TlsProblem::timedOut;
    return result;
  }
  std::string out;
  const sim::TlsAnswer answer = server.onTls(peer, out);
  pause(answer.takes < timeoutMilliseconds ? answer.takes : timeoutMilliseconds);
  if (answer.takes > timeoutMilliseconds) {
    result.problem = TlsProblem::timedOut;
    return result;
  }
  result.problem = answer.problem;
  result.system = answer.system;
  if (answer.problem == TlsProblem::none || isCertificateProblem(answer.problem)) {
    result.certificateName = answer.certificateName;
    result.fingerprint = answer.fingerprint;
    result.protocol = answer.protocol;
    if (peer.acceptedFingerprint == answer.fingerprint) result.problem = TlsProblem::none;
  }
  if (result.problem != TlsProblem::none) {
    result.newestMayDo = answer.newestMayDo && peer.versions == TlsVersions::usual;
    return result;
  }
  server.secured = true;
  stream->sent() = std::move(out);
  result.stream = std::move(plain);
  return result;
}

}  // namespace vornelle
