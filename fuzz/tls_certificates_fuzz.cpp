// Any bytes as the file of accepted certificates, and as a server field: what is found in it is a fingerprint
// or nothing, an entry that is added is found again, and no entry of another server is touched by it.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "mail/server_address.h"
#include "mail/tls_certificates.h"

namespace vornelle {
namespace {

void require(bool condition) {
  if (!condition) std::abort();
}

bool isFingerprint(std::string_view text) {
  return text.size() == 64 && text.find_first_not_of("0123456789abcdef") == std::string_view::npos;
}

void run(std::string_view text) {
  const std::string fingerprint(64, 'e');
  const std::string before = acceptedIn(text, "nas.example", 995);
  require(before.empty() || isFingerprint(before));
  const std::string other = acceptedIn(text, "::1", 465);
  require(other.empty() || isFingerprint(other));

  const auto changed = withAccepted(text, "nas.example", 995, fingerprint);
  require(changed && acceptedIn(*changed, "nas.example", 995) == fingerprint);
  require(acceptedIn(*changed, "::1", 465) == other);

  // A host out of the same bytes, with a fingerprint out of the same bytes.
  const ServerField field = parseServerField(text, MailProtocol::pop3);
  if (field.problem == MailReason::none) {
    require(!field.address.host.empty() && field.address.port >= 1 && field.address.port <= 65535);
    if (const auto entry = withAccepted("", field.address.host, field.address.port, fingerprint))
      require(acceptedIn(*entry, field.address.host, field.address.port) == fingerprint);
  }
  if (const auto entry = withAccepted("", "nas.example", 995, text))
    require(isFingerprint(acceptedIn(*entry, "nas.example", 995)));
}

}  // namespace
}  // namespace vornelle

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  vornelle::run({reinterpret_cast<const char*>(data), size});
  return 0;
}
