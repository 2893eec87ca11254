// Addresses for the envelope.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace vornelle {

// The address in a From field as it stands in a header: "bob@example.com" for `"Bob, <x>" <bob@example.com>
// (home)`; of several addresses the first. "" when there is none that can be sent, which as a sender means
// that nobody is to be told of failures (RFC 5321, 4.5.5).
[[nodiscard]] std::string envelopeAddress(std::string_view field);

// The same for a recipient, who may besides be a bare name that the server knows: "bob". "" when there is
// none.
[[nodiscard]] std::string recipientAddress(std::string_view field);

}  // namespace vornelle
