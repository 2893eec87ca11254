// The console program where CMake found no OpenSSL: plain connections work, TLS is told to be missing.
#include "platform/tls.h"

namespace vornelle {

TlsResult startTls(std::unique_ptr<NetStream> /*plain*/, const TlsPeer& /*peer*/,
                   int /*timeoutMilliseconds*/) {
  TlsResult result;
  result.problem = TlsProblem::unavailable;
  result.system = "built without OpenSSL";
  return result;
}

}  // namespace vornelle
