#include "mail/mail_address.h"

#include <algorithm>

#include "base/text.h"

namespace vornelle {
namespace {

// What can stand between "<" and ">" in a command: printable ASCII, no blanks unless quoted. An address that
// the world knows has an at sign besides.
bool isPrintable(std::string_view address) {
  constexpr std::size_t kLongest = 254 + 64;
  if (address.empty() || address.size() > kLongest) return false;
  bool quoted = false;
  for (std::size_t i = 0; i < address.size(); ++i) {
    const char c = address[i];
    if (c == '"') quoted = !quoted;
    if (quoted && c == '\\' && i + 1 < address.size()) ++i;
    if (c < ' ' || c > '~' || (!quoted && (c == ' ' || c == '<' || c == '>'))) return false;
  }
  return !quoted;
}

bool isSendable(std::string_view address) {
  const std::size_t at = address.rfind('@');
  return isPrintable(address) && at != std::string_view::npos && at > 0 && at + 1 < address.size();
}

// Cuts the first address out of the field: what is between "<" and ">", else what is left without comments.
std::string firstAddress(std::string_view field) {
  std::string plain, angle;
  bool inAngle = false;
  int depth = 0;
  for (std::size_t i = 0; i < field.size(); ++i) {
    std::string& out = inAngle ? angle : plain;
    const char c = field[i];
    if (depth > 0 || (c == '(' && !inAngle)) {
      if (c == '\\') {
        ++i;
      } else if (c == '(') {
        ++depth;
      } else if (c == ')') {
        --depth;
      }
    } else if (c == '"') {
      const std::size_t start = i;
      for (++i; i < field.size() && field[i] != '"'; ++i) {
        if (field[i] == '\\') ++i;
      }
      out += field.substr(start, i + 1 - start);
    } else if (c == '<' && !inAngle) {
      inAngle = true;
    } else if (c == '>' && inAngle) {
      return angle;
    } else if (c == ',' && !inAngle && plain.find('@') != std::string::npos) {
      break;
    } else {
      out.push_back(c);
    }
  }
  return inAngle ? angle : plain;
}

// The last pair of "<" and ">", wherever quotes and comments seem to be. A field with control characters has
// none.
std::string_view lastInAngles(std::string_view field) {
  const bool plain = std::none_of(field.begin(), field.end(),
                                  [](char c) { return static_cast<unsigned char>(c) < ' ' && c != '\t'; });
  const std::size_t open = field.rfind('<');
  if (!plain || open == std::string_view::npos) return {};
  const std::size_t close = field.find('>', open);
  return close == std::string_view::npos ? std::string_view{} : field.substr(open + 1, close - open - 1);
}

}  // namespace

std::string envelopeAddress(std::string_view field) {
  std::string address(trim(firstAddress(field)));
  // Encoded words can bring a name with an open quote or comment, which swallows the address.
  if (!isSendable(address)) address = lastInAngles(field);
  // "<@relay.example:bob@example.com>": the route is of no use any more.
  if (address.starts_with('@')) {
    const std::size_t colon = address.find(':');
    if (colon != std::string::npos) address.erase(0, colon + 1);
  }
  return isSendable(address) ? address : "";
}

std::string recipientAddress(std::string_view field) {
  const std::string address = envelopeAddress(field);
  const std::string_view whole = trim(field);
  const bool onlyName = whole.find_first_of("@\"()<>,;:\\") == std::string_view::npos && isPrintable(whole);
  return address.empty() && onlyName ? std::string(whole) : address;
}

}  // namespace vornelle
