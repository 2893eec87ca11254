// What a POP3 session knows about the messages on the server: their numbers, sizes and unique-ids, and what
// may be done with each.
//
// A unique-id tells a message only when exactly one message of the session has it. Everything else errs on
// the side of keeping mail: a message without a unique-id is kept; one whose id others have too can be read
// and is kept.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace vornelle {

inline constexpr std::size_t kMostMessages = 1'000'000;

struct MaildropEntry {
  std::int32_t number = 0;
  std::int32_t size = 0;  // bytes, as the server says; a negative or unreadable one is 0
  std::string uidl;       // "" when the server has told none
  bool hasHeader = true;  // false: the server gives neither its header nor its text
};

// A line of the answer to UIDL, "1 abc". nullopt: it starts with no message number. Blanks around the parts
// do not count.
struct UidlLine {
  std::int32_t number = 0;
  std::string_view uidl;  // may be empty
};
[[nodiscard]] std::optional<UidlLine> parseUidlLine(std::string_view line);

class Maildrop {
 public:
  // Take one line of the answer to LIST ("1 500") or UIDL ("1 abc"). Lines that make no sense and numbers
  // that come a second time are passed over. False when there are more than can be taken.
  [[nodiscard]] bool addListLine(std::string_view line);
  [[nodiscard]] bool addUidlLine(std::string_view line);
  // To be called when the whole answer to UIDL has come in. Until then no message can be found by its id.
  void uidlComplete() { knowsUidls_ = true; }
  [[nodiscard]] bool knowsUidls() const { return knowsUidls_; }

  // In the order of the server.
  [[nodiscard]] const std::vector<MaildropEntry>& messages() const { return messages_; }

  // The message to read: an id that several have gives the last of them, an id that none has the only one
  // that differs in letter case alone. Null when there is none.
  [[nodiscard]] const MaildropEntry* findToRead(const std::string& uidl) const;
  // The message to delete: null when the id does not tell exactly one, or when the message must not be
  // deleted in this session.
  [[nodiscard]] const MaildropEntry* findToDelete(const std::string& uidl) const;

  void keep(std::int32_t number, bool keep);               // whether it must not be deleted in this session
  void deleted(std::int32_t number, bool deleted = true);  // then it can no longer be found
  // It has come whole in a series, and in its place: it may be deleted without a further question.
  void fetchedWhole(std::int32_t number);
  [[nodiscard]] bool isFetchedWhole(std::int32_t number) const;

  [[nodiscard]] const MaildropEntry* find(std::int32_t number) const;  // null when there is none

 private:
  [[nodiscard]] std::size_t indexOf(std::int32_t number) const;  // messages_.size() when there is none
  [[nodiscard]] std::optional<std::size_t> findExactly(const std::string& uidl) const;
  [[nodiscard]] std::optional<std::size_t> findInAnyCase(const std::string& uidl) const;

  struct State {
    bool keep = false;
    bool deleted = false;
    bool uidlSeen = false;
    bool fetchedWhole = false;
  };
  struct Carriers {
    std::size_t last = kMostMessages;  // the last message that has it
    std::size_t count = 0;             // lines that name it
  };
  std::vector<MaildropEntry> messages_;
  std::vector<State> states_;                              // beside messages_
  std::unordered_map<std::int32_t, std::size_t> indexes_;  // by number
  std::unordered_map<std::string, Carriers> carriers_;     // by unique-id
  std::size_t uidlBytes_ = 0;
  std::size_t uidlLines_ = 0;
  bool knowsUidls_ = false;
};

}  // namespace vornelle
