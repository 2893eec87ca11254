// What the web interface does with single messages: show one from the server or from the SpamBox, delete the
// checked ones, restore one to the mailbox by sending it again.
//
// Every action ends with a result or a log line, never with an error: a step that fails is passed over.
#pragma once

#include <memory>
#include <string>
#include <string_view>

namespace vornelle {

class MailMessage;

// How a message is named: as a browser sends what stands in a link, which may be encoded or not, so that the
// name is looked for as it is and then decoded; or exactly.
enum class Named { asSent, exactly };

// A message on the server, whole. Null where the server cannot be logged onto or has no such message: the log
// tells it, and `problem` is what a page says in its place.
[[nodiscard]] std::unique_ptr<MailMessage> messageOnServer(const std::string& uidl, Named named,
                                                           std::string_view& problem);

// The body of a message on the server as HTML: its HTML body as it is, else its plain body, else its body
// text, both made into HTML. A message page where there is no message to show.
[[nodiscard]] std::string showMessage(const std::string& uidl, Named named = Named::asSent);

// The whole source of a SpamBox file (its key with ".txt") as HTML; "" for a file that is missing or outside
// the SpamBox.
[[nodiscard]] std::string showSpam(const std::string& fileName, Named named = Named::asSent);

// Works through the checked rows of the form in form1.requestText. `box` is "INBOX" or "SPAMBOX". The rows'
// keys and senders are those of the page that was built last. A browser's form may have the field "befriend":
// with it the senders of restored messages are put on the FriendList.
void deleteChecked(std::string_view box);

// The same for one message that is named by its key, as one checked row. `sender` is for the log line.
enum class MessageAct { restore, restoreAndBefriend, remove };
void actOnMessage(std::string_view box, const std::string& key, const std::string& sender, MessageAct act);

// Whether the message of the SpamBox with that key has been restored since the program began.
[[nodiscard]] bool wasRestored(std::string_view key);

// Whether a key can be that of a file in the SpamBox: no name that leads out of it.
[[nodiscard]] bool isSpamKey(std::string_view key);

// Sends a SpamBox file to the user's own address; the file stays. False when it was not sent; the log says
// why.
bool restoreSpam(const std::string& path);

}  // namespace vornelle
