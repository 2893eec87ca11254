// What the web interface does with single messages: show one from the server or from the SpamBox, delete the
// checked ones, restore one to the mailbox by sending it again.
//
// Every action ends with a result or a log line, never with an error: a step that fails is passed over.
#pragma once

#include <string>
#include <string_view>

namespace vornelle {

// The body of a message on the server as HTML: its HTML body as it is, else its plain body, else its body
// text, both made into HTML. A message page where the server cannot be logged onto or has no such message.
[[nodiscard]] std::string showMessage(const std::string& uidl);

// The whole source of a SpamBox file (its key with ".txt") as HTML; "" for a file that is missing or outside
// the SpamBox.
[[nodiscard]] std::string showSpam(const std::string& fileName);

// Works through the checked rows of the form in form1.requestText; `box` is "INBOX" or "SPAMBOX". Lets pending
// events be served once for each checked box. The form, in short:
//
//     SUBMIT3=RESTORE-DELETE&R0=1&D4=1&END=1
//
//   1. Keys and senders of the checked rows are taken from the page that was built last, all of them at once:
//      a page that is built while this is at work must not change which messages go.
//   2. For the Inbox, log on. The deletions take effect when the session ends.
//   3. Box by box: delete, or restore.
void deleteChecked(std::string_view box);

// Sends a SpamBox file to the user's own address; the file stays.
void restoreSpam(const std::string& path);

}  // namespace vornelle
