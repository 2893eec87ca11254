#include "mail/server_address.h"

#include <optional>

#include "base/numbers.h"
#include "base/text.h"

namespace vornelle {
namespace {

constexpr int kPopPort = 110;
constexpr int kPopTlsPort = 995;
constexpr int kSmtpPort = 25;
constexpr int kSmtpTlsPort = 465;
constexpr int kSubmissionPort = 587;

struct HostAndPort {
  std::string_view host;
  std::optional<int> port;
};

std::optional<HostAndPort> parseHostAndPort(std::string_view text) {
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
  if (rest.empty()) return HostAndPort{host, std::nullopt};
  if (rest.front() != ':') return std::nullopt;
  const std::optional<int> port = toPort(rest.substr(1));
  if (!port) return std::nullopt;
  return HostAndPort{host, port};
}

Protection usualProtection(std::optional<int> port) {
  if (port == kPopTlsPort || port == kSmtpTlsPort) return Protection::tls;
  return port == kSubmissionPort ? Protection::startTls : Protection::none;
}

int usualPort(Protection protection, MailProtocol protocol) {
  const bool pop = protocol == MailProtocol::pop3;
  switch (protection) {
    case Protection::tls:
      return pop ? kPopTlsPort : kSmtpTlsPort;
    case Protection::startTls:
      return pop ? kPopPort : kSubmissionPort;
    case Protection::none:
      break;
  }
  return pop ? kPopPort : kSmtpPort;
}

}  // namespace

ServerField parseServerField(std::string_view text, MailProtocol protocol) {
  constexpr std::string_view kMark = "://";
  ServerField field;
  text = trim(text);
  std::optional<Protection> asked;
  if (const std::size_t mark = text.find(kMark); mark != std::string_view::npos) {
    const std::string_view scheme = text.substr(0, mark);
    if (equalsNoCase(scheme, "tls")) asked = Protection::tls;
    if (equalsNoCase(scheme, "starttls")) asked = Protection::startTls;
    if (equalsNoCase(scheme, "plain")) asked = Protection::none;
    if (!asked) {
      field.problem = MailReason::schemeUnknown;
      return field;
    }
    text = trim(text.substr(mark + kMark.size()));
  }
  const std::optional<HostAndPort> parsed = parseHostAndPort(text);
  // None of these stands in a name or an address: something has been pasted that is more than a server.
  if (!parsed || parsed->host.find_first_of("/\\@ \t") != std::string_view::npos) {
    field.problem = MailReason::fieldUnreadable;
    return field;
  }
  field.address.host = parsed->host;
  field.address.protection = asked.value_or(usualProtection(parsed->port));
  field.address.port = parsed->port.value_or(usualPort(field.address.protection, protocol));
  return field;
}

std::string hostAndPort(std::string_view host, int port) {
  const bool bare = host.find(':') == std::string_view::npos;
  return (bare ? std::string(host) : "[" + std::string(host) + "]") + ":" + std::to_string(port);
}

bool isThisComputer(std::string_view host) {
  if (host.ends_with('.')) host.remove_suffix(1);
  if (equalsNoCase(host, "localhost") || host == "::1") return true;
  // A name can start so too.
  return host.starts_with("127.") && host.find_first_not_of("0123456789.") == std::string_view::npos;
}

}  // namespace vornelle
