#include "web/request_origin.h"

#include "base/text.h"

namespace vornelle {

Caller callerOf(const FieldOf& field) {
  if (field("Upgrade")) return Caller::upgrade;
  // "prefetch", "prefetch;prerender", "prefetch;anonymous-client-ip".
  for (const std::string_view name : {"Sec-Purpose", "Purpose", "X-Moz"}) {
    const auto purpose = field(name);
    if (purpose && (containsNoCase(*purpose, "prefetch") || containsNoCase(*purpose, "prerender"))) {
      return Caller::ahead;
    }
  }
  if (const auto site = field("Sec-Fetch-Site")) {
    const bool own = equalsNoCase(*site, "same-origin") || equalsNoCase(*site, "none");
    return own ? Caller::taken : Caller::anotherSite;
  }
  // A frame that is of no site: browsers name the site of a request, unless it is one of a web socket.
  const auto origin = field("Origin");
  return origin && equalsNoCase(*origin, "null") ? Caller::anotherSite : Caller::taken;
}

std::optional<std::string_view> fieldIn(std::string_view text, std::string_view name) {
  while (!text.empty()) {
    const std::string_view line = takeLine(text);
    if (line.empty()) return std::nullopt;
    if (startsWithNoCase(line, name) && line.substr(name.size()).starts_with(':')) {
      return trimBlanksAndTabs(line.substr(name.size() + 1));
    }
  }
  return std::nullopt;
}

}  // namespace vornelle
