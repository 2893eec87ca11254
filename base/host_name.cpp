#include "base/host_name.h"

#include <algorithm>

#include "base/text.h"

namespace vornelle {
namespace {

constexpr std::size_t kLongestName = 255;

char asciiLower(char c) {
  return isAsciiLetter(c) ? toLowerChar(c) : c;
}

// The names of machines know no letter case but that of ASCII: two that differ in more are two machines.
bool sameAscii(std::string_view a, std::string_view b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](char x, char y) { return asciiLower(x) == asciiLower(y); });
}

[[gnu::cold]] std::optional<std::string> ipv4Octets(std::string_view text) {
  std::string octets;
  while (true) {
    const std::size_t dot = text.find('.');
    const std::string_view part = text.substr(0, dot);
    if (part.empty() || part.size() > 3 || (part.size() > 1 && part[0] == '0')) return std::nullopt;
    int value = 0;
    for (const char c : part) {
      if (!isDigit(c)) return std::nullopt;
      value = value * 10 + (c - '0');
    }
    if (value > 255) return std::nullopt;
    octets += static_cast<char>(value);
    if (dot == std::string_view::npos) break;
    text.remove_prefix(dot + 1);
  }
  if (octets.size() != 4) return std::nullopt;
  return octets;
}

// Groups of hexadecimal digits with colons between them, an IPv4 address as the last one or not; "" is no
// group at all.
[[gnu::cold]] std::optional<std::string> groupOctets(std::string_view text) {
  std::string octets;
  if (text.empty()) return octets;
  while (true) {
    const std::size_t colon = text.find(':');
    const std::string_view group = text.substr(0, colon);
    if (colon == std::string_view::npos && group.find('.') != std::string_view::npos) {
      const std::optional<std::string> last = ipv4Octets(group);
      if (!last) return std::nullopt;
      return octets + *last;
    }
    if (group.empty() || group.size() > 4) return std::nullopt;
    int value = 0;
    for (const char c : group) {
      const int nibble = hexDigitValue(c);
      if (nibble < 0) return std::nullopt;
      value = value << 4 | nibble;
    }
    octets += static_cast<char>(value >> 8);
    octets += static_cast<char>(value & 0xFF);
    if (colon == std::string_view::npos) return octets;
    text.remove_prefix(colon + 1);
  }
}

[[gnu::cold]] std::optional<std::string> ipv6Octets(std::string_view text) {
  constexpr std::size_t kSize = 16;
  const std::size_t gap = text.find("::");
  if (gap == std::string_view::npos) {
    std::optional<std::string> octets = groupOctets(text);
    if (octets && octets->size() != kSize) return std::nullopt;
    return octets;
  }
  const std::string_view head = text.substr(0, gap);
  // An IPv4 address can only be the last.
  if (head.find('.') != std::string_view::npos) return std::nullopt;
  const std::optional<std::string> before = groupOctets(head);
  const std::optional<std::string> after = groupOctets(text.substr(gap + 2));
  if (!before || !after || before->size() + after->size() > kSize - 2) return std::nullopt;
  return *before + std::string(kSize - before->size() - after->size(), '\0') + *after;
}

}  // namespace

std::string bareHost(std::string_view host) {
  if (host.size() >= 2 && host.front() == '[' && host.back() == ']') {
    return std::string(host.substr(1, host.size() - 2));
  }
  if (!host.empty() && host.back() == '.') host.remove_suffix(1);
  return std::string(host);
}

[[gnu::cold]] std::optional<std::string> addressOctets(std::string_view host) {
  if (host.find(':') == std::string_view::npos) return ipv4Octets(host);
  return ipv6Octets(host.substr(0, host.find('%')));
}

[[gnu::cold]] bool nameCovers(std::string_view certified, std::string_view host) {
  if (certified.empty() || host.empty()) return false;
  if (!certified.starts_with("*."))
    return certified.find('*') == std::string_view::npos && sameAscii(certified, host);
  const std::string_view behind = certified.substr(1);
  const std::size_t dot = host.find('.');
  if (dot == std::string_view::npos || dot == 0) return false;
  const bool twoLabels = behind.find('.', 1) != std::string_view::npos;
  return twoLabels && behind.find('*') == std::string_view::npos && sameAscii(behind, host.substr(dot));
}

std::string printableName(std::string_view text) {
  std::string result(text.substr(0, kLongestName));
  std::replace_if(
      result.begin(), result.end(), [](char c) { return c < ' ' || c > '~'; }, '?');
  return result;
}

}  // namespace vornelle
