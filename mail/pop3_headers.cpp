// The header fetch of the POP3 client. Every message costs one command; what makes it slow is waiting for
// each answer before the next command goes out, so where the server agrees many are under way at a time.
//
// 1. LIST; CAPA when the mailbox is large; UIDL.
// 2. TOP for the first message tells whether the server has that command at all; if not, RETR serves.
// 3. All other messages, pipelined or one by one.
// 4. What TOP refused, or cut off before the header's end, is read again with RETR.
// 5. The server confirms the last unique-id: the answers have been those to the commands.
#include <algorithm>
#include <string>
#include <utility>

#include "mail/header_fields.h"
#include "mail/pop3_client.h"

namespace vornelle {
namespace {

constexpr std::size_t kLongestHeader = 1U << 20;
constexpr std::size_t kLargeMailbox = 8;

// Bytes of commands under way, some 2,700 messages: a server far away answers the first half while the second
// half travels. Less than the socket buffers of every system take, so a server that does not read before its
// answers have gone out cannot make the client wait in turn.
constexpr std::size_t kWindow = 32U << 10;

}  // namespace

class Pop3Client::HeaderFetch {
 public:
  HeaderFetch(Pop3Client& client, const TakeHeader& take) : client_(client), take_(take) {}

  // False when the session is dead.
  bool run() {
    bool topWorks = true;
    std::size_t next = 0;
    if (!tryTop(topWorks, next)) return false;
    Places rest;
    for (; next < messages().size(); ++next) rest.push_back(next);
    if (!fetch(topWorks, rest)) return false;
    if (topWorks) {
      Places again = std::exchange(refused_, {});
      again.insert(again.end(), cut_.begin(), cut_.end());
      if (!fetch(false, again)) return false;
    }
    if (!inStep()) return false;
    unreadable_.insert(unreadable_.end(), refused_.begin(), refused_.end());
    return std::all_of(unreadable_.begin(), unreadable_.end(), [this](std::size_t place) {
      MaildropEntry entry = messages()[place];
      entry.hasHeader = false;
      client_.maildrop_->keep(entry.number, true);
      return take_(place, entry, "");
    });
  }

 private:
  [[nodiscard]] const std::vector<MaildropEntry>& messages() const { return client_.maildrop_->messages(); }

  // Whether each header was that of the message asked for. Where no message has an id nothing is ever
  // deleted, and it does not matter.
  [[nodiscard]] bool inStep() {
    const auto named = [](const MaildropEntry& entry) { return !entry.uidl.empty(); };
    const auto last = std::find_if(messages().rbegin(), messages().rend(), named);
    return last == messages().rend() || client_.confirm(*last);
  }

  // Fetches messages from `next` on until it is clear whether there is TOP. Usually that is the first one; a
  // message that cannot be read either way tells nothing.
  bool tryTop(bool& topWorks, std::size_t& next) {
    while (next < messages().size()) {
      const Places one = {next++};
      if (!fetch(true, one)) return false;
      if (refused_.empty()) return true;
      refused_.clear();
      if (!fetch(false, one)) return false;
      if (refused_.empty()) {
        topWorks = false;
        return true;
      }
      unreadable_.push_back(one.front());
      refused_.clear();
    }
    return true;
  }

  [[nodiscard]] std::string command(bool top, std::size_t place) const {
    const std::string number = std::to_string(messages()[place].number);
    return top ? "TOP " + number + " 1\r\n" : "RETR " + number + "\r\n";
  }

  // Asks for all these messages. The window is filled again when half of it has been answered, so that the
  // server always has something to do and the commands still travel in large pieces.
  bool fetch(bool top, const Places& places) {
    std::size_t sent = 0;
    std::size_t bytesUnderWay = 0;
    for (std::size_t done = 0; done < places.size(); ++done) {
      const bool roomForMore = client_.pipelining_ && sent < places.size() && bytesUnderWay <= kWindow / 2;
      if (sent == done || roomForMore) {
        std::string commands;
        const std::size_t sentBefore = sent;
        do {
          commands += command(top, places[sent++]);
        } while (client_.pipelining_ && sent < places.size() && bytesUnderWay + commands.size() < kWindow);
        bytesUnderWay += commands.size();
        if (!client_.sendCommands(commands, static_cast<int>(sent - sentBefore))) return false;
      }
      if (!readHeader(top, places[done])) return false;
      bytesUnderWay -= command(top, places[done]).size();
    }
    return true;
  }

  bool readHeader(bool top, std::size_t place) {
    const Answer answer = client_.readAnswer(client_.timeout_);
    if (answer == Answer::dead) return false;
    client_.capabilitiesOnTrial_ = false;
    if (answer == Answer::refused) {
      refused_.push_back(place);
      return true;
    }
    std::string header;
    const auto keepStart = [&header](std::string_view piece) {
      header += piece.substr(0, kLongestHeader - header.size());
    };
    if (!client_.line_->readText(kLongestMessage, keepStart)) return false;
    if (top && isCut(header)) {
      cut_.push_back(place);
      return true;
    }
    if (take_(place, messages()[place], header)) return true;
    client_.line_->kill();
    return false;
  }

  // The header's end is not there and neither are both fields by which the message would be judged.
  static bool isCut(std::string_view header) {
    if (header.size() >= kLongestHeader) return false;
    const HeaderFields fields(header);
    return !fields.endsWithEmptyLine() && !(fields.field("From") && fields.field("Subject"));
  }

  Pop3Client& client_;
  const TakeHeader& take_;
  Places refused_, cut_, unreadable_;
};

bool Pop3Client::fetchHeaders(const TakeHeader& take) {
  begin(MailStep::listing);
  if (fetchHeadersOnce(take)) return true;
  if (!capabilitiesOnTrial_) return false;
  // The server did not survive the question. In the next session the messages may have other numbers.
  capabilitiesOnTrial_ = false;
  pipelining_ = false;
  maildrop_.reset();
  series_ = {};
  uidlAsked_ = false;
  if (!logOn()) return false;
  begin(MailStep::listing);
  return fetchHeadersOnce(take);
}

bool Pop3Client::fetchHeadersOnce(const TakeHeader& take) {
  if (!askList()) return false;
  // A new connection would not know of the deletions that this one has been told.
  const bool large = maildrop_->messages().size() >= kLargeMailbox;
  if (large && capabilitiesAllowed_ && !deletedSomething_ && !askCapabilities()) return false;
  return askUidls() && HeaderFetch(*this, take).run();
}

}  // namespace vornelle
