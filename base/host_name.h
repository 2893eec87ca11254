// Names and addresses of hosts: what a certificate says against what was asked for.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace vornelle {

// The host as it is looked up: without the brackets of an IPv6 address and without one dot at its end.
[[nodiscard]] std::string bareHost(std::string_view host);

// The 4 octets of an IPv4 address in four decimal numbers or the 16 of an IPv6 address (RFC 4291, 2.2; a zone
// behind "%" is left out); nullopt for anything else, which then is a name.
[[nodiscard]] std::optional<std::string> addressOctets(std::string_view host);

// True when the name in a certificate, which may have "*" as its whole left-most label, stands for the host
// name (RFC 9525, 6.3). Letter case of ASCII does not count. The star stands for one label, and needs two
// more behind it. Both are ASCII.
[[nodiscard]] bool nameCovers(std::string_view certified, std::string_view host);

// A text out of a certificate for people: printable ASCII, "?" for the rest, at most 255 characters.
[[nodiscard]] std::string printableName(std::string_view text);

}  // namespace vornelle
