// The user's guide: a page and its pictures, files beside the templates ("data\guide.htm",
// "data\guide\NAME.webp"). The gateway shows it, to everybody at this computer and at any time: it holds
// nothing of the user's, and whoever cannot log in is one of those who need it. Over the plain wire its pages
// have no link to it, since that wire knows no such path.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace vornelle {

// Whether the target is the guide or one of its pictures, be they there or not: "/guide.htm", letter case
// ignored, with any query, or what lies below "/guide/".
[[nodiscard]] bool isGuide(std::string_view target);

// Whether it is a picture. For a target of the guide's.
[[nodiscard]] bool isGuidePicture(std::string_view target);

// The bytes of that file. nullopt where it is missing, and for a name that is none of a picture: letters,
// digits and hyphens, then ".webp". Lets no events in.
[[nodiscard]] std::optional<std::string> readGuide(std::string_view target);

}  // namespace vornelle
