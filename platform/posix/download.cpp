// downloadUrl(): a small HTTP/1.0 client.
#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <cstdlib>
#include <optional>
#include <string>
#include <string_view>

#include "base/numbers.h"
#include "base/text.h"
#include "platform/clock.h"
#include "platform/download.h"
#include "platform/net_stream.h"

namespace vornelle {
namespace {

constexpr int kTimeAllTold = 2000;  // milliseconds
constexpr std::size_t kLongestHeader = std::size_t{64} * 1024;
constexpr std::size_t kLongestBody = std::size_t{64} * 1024;

struct Address {
  std::string host;       // as connected to
  std::string authority;  // as named in the request: with the port, and the brackets of an IPv6 address
  int port = 80;
  std::string path;  // with the query, from its "/" on
};

// "http://host[:port][/path][?query][#fragment]"; nothing that could not stand in a request line.
std::optional<Address> parse(std::string_view url) {
  constexpr std::string_view kScheme = "http://";
  if (!startsWithNoCase(url, kScheme)) return std::nullopt;
  if (std::any_of(url.begin(), url.end(), [](char c) { return c <= ' ' || c == 0x7F; })) return std::nullopt;
  url.remove_prefix(kScheme.size());
  url = url.substr(0, url.find('#'));
  const std::size_t authorityEnd = std::min(url.find_first_of("/?"), url.size());
  std::string_view authority = url.substr(0, authorityEnd);
  if (const std::size_t at = authority.rfind('@'); at != authority.npos) authority.remove_prefix(at + 1);

  Address result;
  result.authority = authority;
  result.path = url.substr(authorityEnd);
  if (!result.path.starts_with('/')) result.path.insert(0, "/");
  std::string_view host = authority;
  const std::size_t colon = authority.rfind(':');
  if (colon != authority.npos && authority.find(']', colon) == authority.npos) {
    host = authority.substr(0, colon);
    if (colon + 1 < authority.size()) {
      const std::optional<int> port = toPort(authority.substr(colon + 1));
      if (!port) return std::nullopt;
      result.port = *port;
    }
  }
  if (host.starts_with('[') && host.ends_with(']')) host = host.substr(1, host.size() - 2);
  if (host.empty()) return std::nullopt;
  result.host = host;
  return result;
}

// The proxy that the environment names, unless it excludes the host. HTTP_PROXY in capitals is not looked at:
// programs started by a web server get it from the visitor.
std::optional<Address> proxyFor(const std::string& host) {
  const char* const proxy = std::getenv("http_proxy");
  if (!proxy || !*proxy) return std::nullopt;
  const char* const excluded = std::getenv("no_proxy");
  std::string_view list = excluded ? excluded : "";
  while (!list.empty()) {
    const std::size_t comma = std::min(list.find(','), list.size());
    std::string_view entry = list.substr(0, comma);
    list.remove_prefix(std::min(comma + 1, list.size()));
    while (entry.starts_with(' ') || entry.starts_with('.')) entry.remove_prefix(1);
    while (entry.ends_with(' ')) entry.remove_suffix(1);
    if (entry == "*") return std::nullopt;
    if (entry.empty() || !endsWithNoCase(host, entry)) continue;
    if (host.size() == entry.size() || host[host.size() - entry.size() - 1] == '.') return std::nullopt;
  }
  const std::string text = proxy;
  return parse(text.find("://") == std::string::npos ? "http://" + text : text);
}

// Where the header ends and the body starts; npos: not yet.
std::size_t bodyStart(const std::string& answer) {
  const std::size_t full = answer.find("\r\n\r\n");
  const std::size_t bare = answer.find("\n\n");
  if (full == std::string::npos && bare == std::string::npos) return std::string::npos;
  return full < bare ? full + 4 : bare + 2;
}

bool says200(std::string_view answer) {
  // "HTTP/1.1 200 OK"
  return answer.starts_with("HTTP/") &&
         answer.substr(0, answer.find_first_of("\r\n")).find(" 200") == answer.find(' ');
}

std::size_t contentLength(std::string_view header) {
  constexpr std::string_view kField = "Content-Length:";
  while (!header.empty()) {
    const std::size_t end = std::min(header.find('\n'), header.size());
    std::string_view line = header.substr(0, end);
    header.remove_prefix(std::min(end + 1, header.size()));
    if (!startsWithNoCase(line, kField)) continue;
    line.remove_prefix(kField.size());
    while (line.starts_with(' ')) line.remove_prefix(1);
    std::size_t length = 0;
    if (std::from_chars(line.data(), line.data() + line.size(), length).ec == std::errc()) return length;
  }
  return kLongestBody;
}

}  // namespace

std::string downloadUrl(const std::string& url) {
  const std::optional<Address> target = parse(url);
  if (!target) return "";
  const std::optional<Address> proxy = proxyFor(target->host);
  const Address& connected = proxy ? *proxy : *target;

  const std::int64_t end = monotonicMilliseconds() + kTimeAllTold;
  const auto left = [end] {
    return static_cast<int>(std::max<std::int64_t>(end - monotonicMilliseconds(), 0));
  };
  const std::unique_ptr<NetStream> stream = openNetStream(connected.host, connected.port, kTimeAllTold);
  if (!stream) return "";
  const std::string request =
      "GET " + (proxy ? "http://" + target->authority : "") + target->path +
      " HTTP/1.0\r\nHost: " + target->authority +
      "\r\nUser-Agent: VB OpenUrl\r\nPragma: no-cache\r\nCache-Control: no-cache\r\n\r\n";
  if (!stream->write(request, left())) return "";

  std::string answer;
  std::size_t start = std::string::npos;
  std::size_t most = kLongestHeader;
  std::array<char, 2048> chunk;
  while (answer.size() < most) {
    const std::optional<std::size_t> got =
        stream->read(chunk.data(), std::min(chunk.size(), most - answer.size()), left());
    if (!got || *got == 0) break;
    answer.append(chunk.data(), *got);
    if (start == std::string::npos && (start = bodyStart(answer)) != std::string::npos) {
      most = start + std::min(contentLength(std::string_view(answer).substr(0, start)), kLongestBody);
    }
    if (left() == 0) break;
  }
  if (start == std::string::npos || !says200(answer)) return "";
  return answer.substr(start, most - start);
}

}  // namespace vornelle
