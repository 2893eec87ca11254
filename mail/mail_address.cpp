#include "mail/mail_address.h"

#include "core/text.h"

namespace vornelle {
namespace {

// What can stand between "<" and ">" in a command: printable ASCII, no blanks unless quoted, and an at sign.
bool isSendable(std::string_view address) {
  constexpr std::size_t kLongest = 254 + 64;
  if (address.empty() || address.size() > kLongest) return false;
  bool quoted = false;
  for (std::size_t i = 0; i < address.size(); ++i) {
    const char c = address[i];
    if (c == '"') quoted = !quoted;
    if (quoted && c == '\\' && i + 1 < address.size()) ++i;
    if (c < ' ' || c > '~' || (!quoted && (c == ' ' || c == '<' || c == '>'))) return false;
  }
  const std::size_t at = address.rfind('@');
  return !quoted && at != std::string_view::npos && at > 0 && at + 1 < address.size();
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

}  // namespace

std::string envelopeAddress(std::string_view field) {
  std::string address(trim(firstAddress(field)));
  // "<@relay.example:bob@example.com>": the route is of no use any more.
  if (address.starts_with('@')) {
    const std::size_t colon = address.find(':');
    if (colon != std::string::npos) address.erase(0, colon + 1);
  }
  return isSendable(address) ? address : "";
}

}  // namespace vornelle
