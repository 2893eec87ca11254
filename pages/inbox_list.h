// The Inbox listing: the messages that wait on the server, in the server's order. It is not kept in step with
// the server: what arrives or goes meanwhile shows after the next fetch.
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

// Back to the state before the first fetch. For tests.
void inboxClear();

// How old the listing is. Fresh: the last fetch brought it whole; not fresh: it is what an earlier one left.
struct ListingAge {
  bool fresh = false;
  std::int64_t fetched = 0;  // seconds since 1970 UTC at the end of the last whole fetch; 0: there was none
};
[[nodiscard]] ListingAge inboxAge();

}  // namespace vornelle
