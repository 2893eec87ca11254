// The names that a certificate is for: the value of its subjectAltName extension (RFC 5280, 4.2.1.6), a list
// of tagged texts in DER:
//
//   30 len  82 len "mail.example"  87 04 7F 00 00 01  ...
//
// It is read here, since Windows gives such names as texts that end at a NUL, and a name may have one in it.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace vornelle {

struct AlternativeNames {
  std::vector<std::string> dns;
  std::vector<std::string> addresses;  // 4 or 16 octets, or of a length that no address has
};

// What stands before a fault in the DER.
[[nodiscard]] AlternativeNames parseAlternativeNames(std::string_view der);

// The host: an address without brackets, or a name in ASCII; "" is nobody. Addresses fit addresses and names
// fit names.
[[nodiscard]] bool isFor(const AlternativeNames& names, std::string_view host);

}  // namespace vornelle
