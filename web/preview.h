// One message for reading, in a browser: "/preview.htm?b=spam&k=KEY&s=ID" for one of the SpamBox, b=inbox for
// one on the server. Its key is percent-encoded as forms are. With "&v=source" its source is shown in place
// of its body.
//
// Pages of the gateway alone: to the plain wire they are unrecognized pages.
#pragma once

#include <string>
#include <string_view>

namespace vornelle {

// The page. The message's body stands in a frame of its own, written anew (pages/safe_html.h).
[[nodiscard]] std::string previewPage();

// "/preview.cgi": restores or deletes the message that the posted form names by its key. Leads back to the
// message behind a restore, else on to the next one of the list, or to the list.
[[nodiscard]] std::string previewAction();

// Whether the page at that path needs the mail server.
[[nodiscard]] bool previewTakesMailbox(std::string_view path);

}  // namespace vornelle
