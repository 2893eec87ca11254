// A listing of messages held in memory, as the Inbox and the SpamBox pages work from one: filled by a fetch
// or a scan, read row by row until the next one.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "core/form1.h"
#include "mail/mail_component.h"

namespace vornelle {

struct ListedMessage {
  std::string key;                   // Inbox: the POP3 unique id. SpamBox: the file name without ".txt"
  std::string from;                  // the sender for display
  std::optional<std::int64_t> date;  // seconds since 1970 UTC; nullopt when the message has none
  std::string subject;               // as it came, not escaped
  std::optional<std::int32_t> size;  // bytes; nullopt in a row that has never been filled
};

// What the listings keep of a message.
[[nodiscard]] inline ListedMessage listedMessage(std::string key, const MailMessage& message) {
  return {std::move(key), message.getFromDisplay(), message.getDate(), message.getSubject(),
          message.getSize()};
}

struct MessageListing {
  std::int16_t count = 0;
  std::vector<ListedMessage> rows = std::vector<ListedMessage>(kLastRow + 1);

  // One field of a row; nullopt for an index below 0 or above kLastRow. Rows at or above count hold what an
  // earlier, longer listing left there.
  [[nodiscard]] std::optional<std::string> field(std::int16_t index,
                                                 std::string ListedMessage::*member) const {
    const ListedMessage* const row = at(index);
    return row != nullptr ? std::optional(row->*member) : std::nullopt;
  }
  // The same as text: "11-15-2026 01:55AM", and bytes in decimal; "" where there is no number.
  [[nodiscard]] std::optional<std::string> dateText(std::int16_t index) const;
  [[nodiscard]] std::optional<std::string> sizeText(std::int16_t index) const;

 private:
  [[nodiscard]] const ListedMessage* at(std::int16_t index) const {
    return index >= 0 && index <= kLastRow ? &rows[static_cast<std::size_t>(index)] : nullptr;
  }
};

// Local time as "mm-dd-yyyy hh:mm" on the 12-hour clock with the system's designator right behind; "" for no
// date.
[[nodiscard]] std::string formatListedDate(std::optional<std::int64_t> utcSeconds);

}  // namespace vornelle
