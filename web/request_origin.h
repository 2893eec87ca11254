// Who has caused a request, as browsers tell it in its header fields (Fetch Metadata, Sec-Purpose, RFC 6454,
// RFC 6455).
#pragma once

#include <functional>
#include <optional>
#include <string_view>

namespace vornelle {

enum class Caller {
  taken,        // our own page, an address that the user has typed, or no browser
  anotherSite,  // a link, form, picture or script of another site, or of a frame that is of no site
  ahead,        // a browser on a guess: nobody has asked yet
  upgrade,  // somebody who wants to speak another protocol, as web sockets do: it stands above those rules
};

// The value of the request's field of that name.
using FieldOf = std::function<std::optional<std::string_view>(std::string_view name)>;

[[nodiscard]] Caller callerOf(const FieldOf& field);

// A field in the header of a request's text as it came; nullopt where it has none such. What stands behind
// the first empty line is no header.
[[nodiscard]] std::optional<std::string_view> fieldIn(std::string_view text, std::string_view name);

}  // namespace vornelle
