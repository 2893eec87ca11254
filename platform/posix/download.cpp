// downloadUrl(): a small HTTP/1.0 client.
#include <algorithm>
#include <array>
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
constexpr std::size_t kLongestChunks = 4 * kLongestBody;  // the same with the lines between the chunks

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
    std::string_view entry = trim(list.substr(0, comma));
    list.remove_prefix(std::min(comma + 1, list.size()));
    if (entry.starts_with('.')) entry.remove_prefix(1);
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

// The value of a header field, "" when it is not there.
std::string_view fieldValue(std::string_view header, std::string_view name) {
  while (!header.empty()) {
    const std::size_t end = std::min(header.find('\n'), header.size());
    std::string_view line = header.substr(0, end);
    header.remove_prefix(std::min(end + 1, header.size()));
    if (!startsWithNoCase(line, name) || line.substr(name.size()).find(':') != 0) continue;
    line.remove_prefix(name.size() + 1);
    if (line.ends_with('\r')) line.remove_suffix(1);
    return trimBlanksAndTabs(line);
  }
  return {};
}

std::size_t contentLength(std::string_view header) {
  const std::string_view text = fieldValue(header, "Content-Length");
  std::size_t length = 0;
  if (std::from_chars(text.data(), text.data() + text.size(), length).ec == std::errc()) return length;
  return kLongestBody;
}

struct Unchunked {
  std::string text;
  bool complete = false;  // with the chunk that ends it
};

// "5\r\nNews \r\n8\r\nof today\r\n0\r\n\r\n" is "News of today"; what is missing at the end is left out.
Unchunked withoutChunks(std::string_view body) {
  std::string text;
  while (true) {
    std::size_t size = 0;
    const auto [end, error] = std::from_chars(body.data(), body.data() + body.size(), size, 16);
    const std::size_t line = body.find('\n', static_cast<std::size_t>(end - body.data()));
    if (error != std::errc() || size == 0 || line == std::string_view::npos)
      return {text, error == std::errc() && size == 0};
    body.remove_prefix(line + 1);
    text += body.substr(0, size);
    if (body.size() <= size) return {text};
    body.remove_prefix(size);
    body.remove_prefix(std::min(body.find('\n'), body.size() - 1) + 1);
  }
}

}  // namespace

std::string downloadUrl(const std::string& url) {
  const std::optional<Address> target = parse(url);
  if (!target) return "";
  const std::optional<Address> proxy = proxyFor(target->host);
  const Address& connected = proxy ? *proxy : *target;

  const std::int64_t end = monotonicMilliseconds() + kTimeAllTold;
  const auto left = [end] { return static_cast<int>(millisecondsUntil(end)); };
  const std::unique_ptr<NetStream> stream = openNetStream(connected.host, connected.port, kTimeAllTold);
  if (!stream) return "";
  const std::string request =
      "GET " + (proxy ? "http://" + target->authority : "") + target->path +
      " HTTP/1.0\r\nHost: " + target->authority +
      "\r\nUser-Agent: VB OpenUrl\r\nPragma: no-cache\r\nCache-Control: no-cache\r\n\r\n";
  if (!stream->write(request, left())) return "";

  std::string answer;
  std::size_t start = std::string::npos;
  bool chunked = false;
  std::size_t most = kLongestHeader;
  std::array<char, 2048> chunk;
  while (answer.size() < most) {
    const std::optional<std::size_t> got =
        stream->read(chunk.data(), std::min(chunk.size(), most - answer.size()), left());
    if (!got || *got == 0) break;
    answer.append(chunk.data(), *got);
    if (start == std::string::npos && (start = bodyStart(answer)) != std::string::npos) {
      const std::string_view header = std::string_view(answer).substr(0, start);
      chunked = equalsNoCase(fieldValue(header, "Transfer-Encoding"), "chunked");
      most = start + (chunked ? kLongestChunks : std::min(contentLength(header), kLongestBody));
    }
    if (left() == 0) break;
    if (chunked && withoutChunks(std::string_view(answer).substr(start)).complete) break;
  }
  if (start == std::string::npos || !answer.starts_with("HTTP/")) return "";
  // The status is not looked at: what the server says is what it has to say.
  const std::string body = answer.substr(start, most - start);
  return chunked ? withoutChunks(body).text.substr(0, kLongestBody) : body;
}

}  // namespace vornelle
