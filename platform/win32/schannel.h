// TLS by Schannel, behind the interface that all systems share.
//
// A record of the peer's is in one of three hands: InitializeSecurityContext during the handshake,
// DecryptMessage after it, and in TLS 1.3 InitializeSecurityContext again for what belongs to no text:
// DecryptMessage gives such a record back as "renegotiate", with its bytes as extra ones. In TLS 1.2 that
// word means what it says, and is refused.
#pragma once

#include <windows.h>
// After windows.h.
#define SECURITY_WIN32
#include <security.h>

#include <memory>

#include "platform/common/tls_engine.h"

namespace vornelle::win32 {

// The functions are the system's; a test has others, which behave as Windows does where Wine does not. They
// outlive the engine.
[[nodiscard]] std::unique_ptr<TlsEngine> makeSchannelEngine(const SecurityFunctionTableW& functions,
                                                            const TlsPeer& peer);

}  // namespace vornelle::win32
