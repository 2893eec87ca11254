// A listing of messages held in memory, as the Inbox and the SpamBox pages work from one: filled by a fetch
// or a scan, read row by row until the next one.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "core/form1.h"
#include "mail/mail_component.h"

namespace vornelle {

struct ListedMessage {
  std::string key;      // Inbox: the POP3 unique id. SpamBox: the file name without ".txt"
  std::string from;     // the sender for display
  std::string date;     // "11-15-2026 01:55AM"; "" when the message has none
  std::string subject;  // as it came, not escaped
  std::string size;     // bytes, decimal
};

struct MessageListing {
  std::int16_t count = 0;
  std::vector<ListedMessage> rows = std::vector<ListedMessage>(kLastRow + 1);

  // One field of a row; nullopt for an index below 0 or above kLastRow. Rows at or above count hold what an
  // earlier, longer listing left there.
  [[nodiscard]] std::optional<std::string> field(std::int16_t index,
                                                 std::string ListedMessage::*member) const {
    if (index < 0 || index > kLastRow) return std::nullopt;
    return rows[static_cast<std::size_t>(index)].*member;
  }
};

// What the listings keep of a message.
[[nodiscard]] ListedMessage listedMessage(std::string key, const MailMessage& message);

// Local time as "mm-dd-yyyy hh:mm" on the 12-hour clock with the system's designator right behind; "" for no
// date.
[[nodiscard]] std::string formatListedDate(std::optional<std::int64_t> utcSeconds);

}  // namespace vornelle
