#include "mail/tls_certificates.h"

#include <string>
#include <vector>

#include "base/text.h"
#include "mail/server_address.h"
#include "platform/files.h"

namespace vornelle {
namespace {

// Some 10,000 entries. A larger file is somebody else's.
constexpr std::size_t kLongestFile = 1U << 20;

constexpr std::size_t kFingerprintDigits = 64;

std::string certificatesPath() {
  return applicationFolder() + "\\tls-certificates.txt";
}

// "" when the text is no fingerprint.
std::string normalFingerprint(std::string_view text) {
  std::string digits;
  for (const char c : text) {
    if (c == ':') continue;
    if (hexDigitValue(c) < 0 || digits.size() == kFingerprintDigits) return "";
    digits.push_back(toLowerChar(c));
  }
  return digits.size() == kFingerprintDigits ? digits : "";
}

struct Entry {
  std::string_view server;
  std::string_view fingerprint;
};

Entry splitEntry(std::string_view line) {
  line = trimBlanksAndTabs(line);
  const std::size_t blank = line.find_first_of(" \t");
  if (blank == std::string_view::npos) return {};
  return {line.substr(0, blank), trimBlanksAndTabs(line.substr(blank))};
}

std::string_view withoutLastDot(std::string_view host) {
  if (host.ends_with('.')) host.remove_suffix(1);
  return host;
}

std::string serverName(std::string_view host, int port) {
  return hostAndPort(withoutLastDot(host), port);
}

// nullopt when there is a file and it cannot be read, or is too long.
std::optional<std::string> readCertificates() {
  if (!fileExists(certificatesPath())) return "";
  if (fileLength(certificatesPath()).value_or(kLongestFile) >= kLongestFile) return std::nullopt;
  return readFile(certificatesPath());
}

}  // namespace

std::string acceptedIn(std::string_view text, std::string_view host, int port) {
  const std::string wanted = serverName(host, port);
  std::string accepted;
  for (const std::string& line : splitLines(text)) {
    const Entry entry = splitEntry(line);
    if (!equalsNoCase(entry.server, wanted)) continue;
    std::string fingerprint = normalFingerprint(entry.fingerprint);
    if (!fingerprint.empty()) accepted = std::move(fingerprint);
  }
  return accepted;
}

std::optional<std::string> withAccepted(std::string_view text, std::string_view host, int port,
                                        std::string_view fingerprint) {
  const std::string normal = normalFingerprint(fingerprint);
  const std::string server = serverName(host, port);
  if (normal.empty() || host.empty() || server.find_first_of(" \t\r\n") != std::string::npos)
    return std::nullopt;
  std::string result;
  for (const std::string& line : splitLines(text)) {
    if (equalsNoCase(splitEntry(line).server, server)) continue;
    result.append(line).append(kCrLf);
  }
  return result.append(server).append(" ").append(normal).append(kCrLf);
}

std::string acceptedCertificate(std::string_view host, int port) {
  const std::optional<std::string> text = readCertificates();
  return text ? acceptedIn(*text, host, port) : "";
}

bool acceptCertificate(std::string_view host, int port, std::string_view fingerprint) {
  const std::optional<std::string> text = readCertificates();
  if (!text) return false;
  const std::optional<std::string> changed = withAccepted(*text, host, port, fingerprint);
  return changed && writeFile(certificatesPath(), *changed);
}

}  // namespace vornelle
