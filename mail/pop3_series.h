// The book of a series of messages that is fetched ahead: which commands may go out now, and to which command
// the next answer belongs. A server answers in the order of the commands.
//
//     sent      RETR 1 UIDL 1 RETR 2 UIDL 2 RETR 3 UIDL 3 | DELE 1 RETR 4 UIDL 4 | DELE 2 ...
//     read      1's text, its confirmation; 2's; 3's; the answer to DELE 1; 4's ...
//
// What is under way at a time is bounded twice:
//
// - By the bytes that LIST has told: 1 MiB. Measured (docs/performance.md): a line of 20 milliseconds each
//   way is three times as fast with it as with 256 KiB, and twice as much gains a tenth more; and it is what
//   would have to be read for nothing when the series is given up. Two messages are under way however large
//   they are, so that no message waits for the one before.
// - By the number of messages: 512, whose commands every socket buffer takes. A server that does not read
//   before its own texts have gone out cannot make the client wait in turn.
//
// Commands go out again when a quarter of the window has been answered: the server always has something to
// do, and the commands travel in large pieces.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <vector>

namespace vornelle {

class Pop3Series {
 public:
  static constexpr std::int64_t kWindow = 1 << 20;  // bytes
  static constexpr std::size_t kMostMessages = 512;

  struct Expected {
    std::int32_t number;
    std::int32_t size;  // bytes, as LIST says
  };
  // The messages that will most likely be asked for next, in this order. Takes the place of those that have
  // been told before and not been sent for.
  void expect(std::vector<Expected> messages);

  // Whether the message is under way, or would be in its turn.
  [[nodiscard]] bool brings(std::int32_t number) const;
  // The message is asked for: what stands before it and has not been sent for is passed over.
  void skipTo(std::int32_t number);
  // A message that is safe: its DELE goes out with the next commands.
  void addDeletion(std::int32_t number) { deletions_.push_back(number); }

  // The commands to send now; without a text where it is too early. They count as sent.
  struct Commands {
    std::string text;
    int count = 0;  // answers to come
  };
  [[nodiscard]] Commands nextCommands();
  // The deletions that have not gone out.
  [[nodiscard]] Commands lastCommands();

  // To what the next answer belongs; nullopt when nothing is under way.
  struct Step {
    bool deletion = false;  // else a text and its confirmation
    std::int32_t number = 0;
    std::int32_t size = 0;
  };
  [[nodiscard]] std::optional<Step> awaited() const;
  void answered();  // that has been read

  // No command is without its answer, and none waits to be sent.
  [[nodiscard]] bool settled() const { return underWay_.empty() && deletions_.empty(); }

 private:
  void takeDeletions(Commands& commands);

  std::vector<Expected> expected_;
  std::size_t next_ = 0;  // the first of them that has not been sent for
  std::deque<Step> underWay_;
  std::size_t messages_ = 0;  // of those under way
  std::int64_t bytes_ = 0;    // in them
  std::vector<std::int32_t> deletions_;
};

}  // namespace vornelle
