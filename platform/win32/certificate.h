// The check of a server's certificate by Windows, and by what Windows leaves out.
//
// 1. Exactly the accepted certificate is good; nothing else is asked then.
// 2. The chain is built without fetching what is missing from addresses inside the certificate: anybody
//    between here and the server could have put these there. It may still take its time (a root that Windows
//    gets from its maker), so it is built aside from the program's thread.
// 3. The chain's own status and the policy for TLS servers both have to be clean: neither of them alone finds
//    every fault on every Windows.
// 4. Names, addresses, key lengths and signatures are looked at here.
#pragma once

#include <windows.h>
// After windows.h.
#include <wincrypt.h>

#include <cstdint>
#include <string>

#include "platform/common/tls_engine.h"

namespace vornelle::win32 {

// The host: an address without brackets, or a name in ASCII; "" fits no certificate. The certificate is only
// borrowed. timedOut where the chain has not been built by that time (of monotonicMilliseconds()).
[[nodiscard]] TlsFinding checkCertificate(PCCERT_CONTEXT certificate, const std::string& host,
                                          const std::string& acceptedFingerprint, std::int64_t until);

}  // namespace vornelle::win32
