// The host and port in a server setting: "mail.example", "mail.example:8110", "192.0.2.1:110", "[::1]:110",
// "::1".
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace vornelle {

struct ServerAddress {
  std::string host;
  int port = 0;
};

// Blanks around the text are ignored. nullopt when there is no host or the port is not 1 to 65535. A text
// with several colons and no brackets is an IPv6 address without a port.
[[nodiscard]] std::optional<ServerAddress> parseServerAddress(std::string_view text, int defaultPort);

}  // namespace vornelle
