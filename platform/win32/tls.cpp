#include "platform/tls.h"

#include "platform/common/tls_stream.h"
#include "platform/win32/schannel.h"

namespace vornelle {

TlsResult startTls(std::unique_ptr<NetStream> plain, const TlsPeer& peer, int timeoutMilliseconds) {
  const SecurityFunctionTableW* const functions = InitSecurityInterfaceW();
  std::unique_ptr<TlsEngine> engine;
  if (functions) engine = win32::makeSchannelEngine(*functions, peer);
  return startTlsWith(std::move(engine), std::move(plain), timeoutMilliseconds);
}

}  // namespace vornelle
