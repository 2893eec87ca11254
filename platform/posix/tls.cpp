#include "platform/tls.h"

namespace vornelle {

TlsResult startTls(std::unique_ptr<NetStream> /*plain*/, const TlsPeer& /*peer*/, int /*timeoutMilliseconds*/) {
  TlsResult result;
  result.problem = TlsProblem::unavailable;
  return result;
}

}  // namespace vornelle
