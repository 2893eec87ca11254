// Messages as a browser shows them, each for a while at an address of its own.
//
// The address of the action that fetches a message carries the session id, and a message can make a browser
// tell the address of the page it stands on to where its links lead. So what the action brings is kept here
// and shown under an address that tells nothing and opens nothing but this one message.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace vornelle {

inline constexpr std::size_t kMostMessageViews = 32;
inline constexpr std::size_t kMostMessageViewBytes = 64U << 20;  // of all together; one alone may be larger
inline constexpr int kMessageViewMinutes = 10;

struct MessageView {
  std::string body;
  bool framed = false;  // shown inside the preview; otherwise as a page
};

// Keeps the view for kMessageViewMinutes of the live session and returns its address, "view.htm?v=...". Older
// ones go where there are too many. "" where there are no random letters to be had.
[[nodiscard]] std::string keepMessageView(MessageView view);

// The view at that target ("/view.htm?v=..."); null when there is none any more.
[[nodiscard]] const MessageView* findMessageView(std::string_view target);

}  // namespace vornelle
