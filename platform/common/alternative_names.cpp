#include "platform/common/alternative_names.h"

#include <algorithm>
#include <optional>

#include "base/host_name.h"

namespace vornelle {
namespace {

constexpr unsigned char kSequence = 0x30;
constexpr unsigned char kDnsName = 0x82;
constexpr unsigned char kAddress = 0x87;

struct Element {
  unsigned char tag;
  std::string_view content;
};

// Takes one element off the front.
[[gnu::cold]] std::optional<Element> takeElement(std::string_view& der) {
  if (der.size() < 2) return std::nullopt;
  const auto tag = static_cast<unsigned char>(der[0]);
  std::size_t length = static_cast<unsigned char>(der[1]);
  der.remove_prefix(2);
  if (length > 127) {
    std::size_t octets = length - 128;
    if (octets == 0 || octets > 3 || octets > der.size()) return std::nullopt;
    for (length = 0; octets > 0; --octets) {
      length = length << 8 | static_cast<unsigned char>(der[0]);
      der.remove_prefix(1);
    }
  }
  if (length > der.size()) return std::nullopt;
  const Element element{tag, der.substr(0, length)};
  der.remove_prefix(length);
  return element;
}

}  // namespace

[[gnu::cold]] AlternativeNames parseAlternativeNames(std::string_view der) {
  AlternativeNames names;
  const std::optional<Element> list = takeElement(der);
  if (!list || list->tag != kSequence) return names;
  std::string_view rest = list->content;
  while (const std::optional<Element> name = takeElement(rest)) {
    if (name->tag == kDnsName) names.dns.emplace_back(name->content);
    if (name->tag == kAddress) names.addresses.emplace_back(name->content);
  }
  return names;
}

[[gnu::cold]] bool isFor(const AlternativeNames& names, std::string_view host) {
  if (const std::optional<std::string> octets = addressOctets(host)) {
    return std::find(names.addresses.begin(), names.addresses.end(), *octets) != names.addresses.end();
  }
  return std::any_of(names.dns.begin(), names.dns.end(),
                     [host](const std::string& name) { return nameCovers(name, host); });
}

}  // namespace vornelle
