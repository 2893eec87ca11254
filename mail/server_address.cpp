#include "mail/server_address.h"

#include <charconv>

#include "base/text.h"

namespace vornelle {
namespace {

std::optional<int> parsePort(std::string_view text) {
  int port = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), port);
  if (error != std::errc{} || end != text.data() + text.size() || port < 1 || port > 65535)
    return std::nullopt;
  return port;
}

}  // namespace

std::optional<ServerAddress> parseServerAddress(std::string_view text, int defaultPort) {
  text = trim(text);
  std::string_view host = text;
  std::string_view rest;  // what follows the host: nothing, or a colon and the port
  if (text.starts_with('[')) {
    const std::size_t close = text.find(']');
    if (close == std::string_view::npos) return std::nullopt;
    host = text.substr(1, close - 1);
    rest = text.substr(close + 1);
  } else if (const std::size_t colon = text.find(':');
             colon != std::string_view::npos && colon == text.rfind(':')) {
    host = text.substr(0, colon);
    rest = text.substr(colon);
  }
  if (host.empty()) return std::nullopt;
  if (rest.empty()) return ServerAddress{std::string(host), defaultPort};
  if (rest.front() != ':') return std::nullopt;
  const std::optional<int> port = parsePort(rest.substr(1));
  if (!port) return std::nullopt;
  return ServerAddress{std::string(host), *port};
}

}  // namespace vornelle
