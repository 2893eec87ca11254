// The Inbox: the listing of the messages that wait on the server, in the server's order, and the page that
// shows it. The listing is not kept in step with the server: what arrives or goes meanwhile shows after the
// next fetch.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace vornelle {

// Fetches the listing from the server; lets pending events be served once for each message. False when it
// failed: with a beep and the old listing where the server did not let us in, with the messages read so far
// after any later error. A mailbox of more than 10,001 messages always fails.
[[nodiscard]] bool inboxList();

[[nodiscard]] std::int16_t inboxCount();

// A field of the message at the index; nullopt below 0 and above 10000.
[[nodiscard]] std::optional<std::string> inboxUidl(std::int16_t index);
[[nodiscard]] std::optional<std::string> inboxFrom(std::int16_t index);
[[nodiscard]] std::optional<std::string> inboxDate(std::int16_t index);
[[nodiscard]] std::optional<std::string> inboxSubject(std::int16_t index);
[[nodiscard]] std::optional<std::string> inboxSize(std::int16_t index);  // bytes, decimal

// How old the listing is. Fresh: the last fetch brought it whole; not fresh: it is what an earlier one left.
struct ListingAge {
  bool fresh = false;
  std::int64_t fetched = 0;  // seconds since 1970 UTC at the end of the last whole fetch; 0: there was none
};
[[nodiscard]] ListingAge inboxAge();

// One screenful of the listing as rows of data\inbox.htm. The page starts at the given row; -1 makes the
// listing anew first and starts at row 0. On return `first` is the row that the page starts at. Lets pending
// events be served once for each row.
[[nodiscard]] std::string pageInbox(std::int16_t& first);

}  // namespace vornelle
