// What the web interface can do: the pages and actions behind the paths, in the order in which they are
// tried.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace vornelle {

// What is shown, and so under which policy a browser may show it.
enum class PageKind {
  message,  // somebody's mail: sandboxed, no script, nothing remote
  page,     // a page or a short answer of the program itself: nothing from outside
  icon,
  unknown,  // quotes an unknown path: no script at all
};

// What serving it takes, and so when it can be served.
enum class PageWork {
  files,    // templates, lists and what is held already: in the middle of anything
  mailbox,  // the one mail component, which it would take away from what is under way
  action,   // changes something: one after the other
};

// What it has to do with the row tables, by whose numbers a posted form names its messages.
enum class PageRows { none, fills, reads };

// Whose wish it may be, as far as browsers tell that.
enum class PageAsker {
  ownPage,      // our own page's, the user's, or that of a client that tells nothing
  anybody,      // a link on another site may lead here as well
  saidOwnPage,  // it ends something and needs no session: a browser has to say that it is one of the first
                // two
};

struct PageTraits {
  PageKind kind = PageKind::unknown;
  PageWork work = PageWork::files;
  PageRows rows = PageRows::none;
  PageAsker asker = PageAsker::ownPage;
};

// Of the row of the page table that answers this target ("/config.htm?s=...") for the gateway. Without a live
// session that is the log-in page for most of them.
[[nodiscard]] PageTraits pageTraits(std::string_view target);

// Chooses what the path in requestPath asks for, does it, and returns the whole answer; nullopt when there is
// none to send. Strips the path's leading "/", which the log then shows so. Pauses, page builders and mail
// actions in here let other requests in, and those share requestText and requestPath.
[[nodiscard]] std::optional<std::string> dispatchRequest();

}  // namespace vornelle
