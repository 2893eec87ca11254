// The certificates that the user has accepted for servers of their own, in "\tls-certificates.txt" in the
// application folder. A line an entry: host, colon, port, a blank, and the certificate's SHA-256 in
// hexadecimal digits:
//
//   nas.home.example:995 5f0c...e1
//
// Letter case does not count, and neither do colons between the digits. Lines that are no such entry are
// passed over; of several for one server the last counts. An entry accepts exactly that one certificate.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace vornelle {

// The fingerprint for that host and port in such a text: 64 small hexadecimal digits; "" when there is none.
[[nodiscard]] std::string acceptedIn(std::string_view text, std::string_view host, int port);

// The text with this entry at its end and without other ones for that server. All other lines stay; each ends
// with CR LF. nullopt when the fingerprint is none, or the host is empty or has a blank or line end in it.
[[nodiscard]] std::optional<std::string> withAccepted(std::string_view text, std::string_view host, int port,
                                                      std::string_view fingerprint);

// The same with the file. One that cannot be read, or has 1 MiB and more, accepts nothing and is not written
// either. False when nothing has been accepted.
[[nodiscard]] std::string acceptedCertificate(std::string_view host, int port);
[[nodiscard]] bool acceptCertificate(std::string_view host, int port, std::string_view fingerprint);

}  // namespace vornelle
