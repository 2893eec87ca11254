// The POP3 client (RFC 1939, RFC 2449): one session, from the log-on to QUIT.
//
// - After a network or protocol error the session is dead: every later call fails at once and it ends without
//   QUIT, so that the server deletes nothing.
// - LIST and UIDL are asked once. A unique-id stands for the message number that it has in this session.
// - A text may have ended too early: there are servers that do not stuff the lone dots inside a message. What
//   comes behind could be taken for the answers to later commands. So behind a message, behind the headers
//   and before a deletion the server is asked for the unique-id of that number (UIDL n). Only the server
//   knows it, so no message can hold that answer; when it comes at once, client and server mean the same
//   answers.
// - Headers come with TOP n 1; from servers without TOP with RETR, of which only the header is kept.
// - Where the line is to be encrypted by STLS (RFC 2595), nothing is said before that but STLS itself, and
//   nothing at all where it fails.
// - From 8 messages on the server is asked (CAPA) whether commands may be pipelined: fewer cost no more waits
//   than a connection that has to be made anew (docs/performance.md). For servers exist that close the line
//   at that, or never answer: then the connection is made again, once, and goes on without.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "mail/line_stream.h"
#include "mail/mail_connector.h"
#include "mail/mail_failure.h"
#include "mail/maildrop.h"
#include "mail/pop3_series.h"

namespace vornelle {

class NetStream;

inline constexpr std::size_t kLongestMessage = 512U << 20;

class Pop3Client {
 public:
  Pop3Client(std::unique_ptr<MailConnector> connector, std::string account, std::string password,
             int timeoutMilliseconds);
  ~Pop3Client();  // QUIT, its answer awaited; nothing when the session is dead
  Pop3Client(const Pop3Client&) = delete;
  Pop3Client& operator=(const Pop3Client&) = delete;

  // Connects, encrypts where that is to be, USER and PASS. To be called first, and once.
  [[nodiscard]] bool logOn();

  // Calls `take` once for every place of the mailbox, in any order, with the message's header as the server
  // sent it (at most its first 1 MiB). A message whose header cannot be had comes with an empty one and
  // says so (hasHeader), so that nobody judges it. When `take` returns false the session fails. False when
  // not all could be had; what has been taken so far means nothing then.
  using TakeHeader = std::function<bool(std::size_t place, const MaildropEntry&, std::string_view header)>;
  [[nodiscard]] bool fetchHeaders(const TakeHeader& take);

  // The unique-ids that the server tells, in mailbox order; nullopt on failure, which includes servers
  // without UIDL.
  [[nodiscard]] std::optional<std::vector<std::string>> fetchUidls();

  // The whole message as the server sent it. nullopt, and the message is not deleted in this session: it is
  // not there, could not be had whole, or is empty. The session may go on.
  struct Message {
    std::string text;
    std::string uidl;       // as the server spells it
    std::int32_t size = 0;  // as LIST says
  };
  [[nodiscard]] std::optional<Message> fetchMessage(const std::string& uidl);

  // Tells which messages will most likely be fetched next, in this order: on a connection that may pipeline
  // they are then asked for ahead (see pop3_series.h), and fetchMessage() finds them under way. What is not
  // fetched after all is read and dropped. Elsewhere it does nothing, and says so with false.
  bool expect(const std::vector<std::string_view>& uidls);

  // Makes the session a dead one.
  void abandon();

  // Why the last call failed; what it says after one that did not fail means nothing.
  [[nodiscard]] MailFailure failure() const;

  // DELE, once the server has confirmed which message that is. It is gone when the session has ended with
  // QUIT. For a message of a series the confirmation has come with it, and true says that DELE goes out with
  // the next commands: its answer is read in its turn, at the latest before QUIT, and where it is a refusal
  // the message stays.
  [[nodiscard]] bool deleteMessage(const std::string& uidl);

 private:
  enum class Answer { ok, refused, dead };
  using Places = std::vector<std::size_t>;  // indexes into what is listed

  void begin(MailStep step);
  bool openLine();
  [[nodiscard]] std::unique_ptr<NetStream> agreedToEncrypt();
  void leave();
  bool sendCommands(std::string_view commands, int count);
  bool sendInStep(std::string_view commands, int count);
  bool sendAnyway(std::string_view commands, int count);
  Answer readAnswer(int timeoutMilliseconds);
  Answer ask(const std::string& command);
  bool readLines(std::size_t most, const std::function<bool(std::string_view)>& take);
  bool confirm(const MaildropEntry& entry);
  bool readConfirmation(const MaildropEntry& entry, bool mayBeRefused = false);
  std::optional<Message> readMessage(const MaildropEntry& entry, bool confirmationUnderWay);
  bool askList();
  bool askUidls();
  bool askCapabilities();
  bool fetchHeadersOnce(const TakeHeader& take);
  class HeaderFetch;
  std::optional<Message> fetchFromSeries(const MaildropEntry& entry);
  bool passStep(const Pop3Series::Step& step, std::optional<std::int64_t> deadline);
  bool passAll(std::optional<std::int64_t> deadline);
  bool settleSeries();
  bool endSeries();

  std::unique_ptr<MailConnector> connector_;
  std::string account_, password_;
  int timeout_;
  std::optional<LineStream> line_;
  MailStep step_ = MailStep::none;
  MailFailure failure_;               // where the way to the line has failed
  std::string refusal_;               // the last answer that was no +OK
  bool mayTalk_ = true;               // the line is as well protected as it is to be
  std::optional<Maildrop> maildrop_;  // once LIST has been answered
  Pop3Series series_;
  int unanswered_ = 0;  // commands
  bool uidlAsked_ = false;
  bool deletedSomething_ = false;
  bool capabilitiesAllowed_ = true;
  // CAPA has been sent, and no later command has been answered yet: if the session dies now, that is why.
  bool capabilitiesOnTrial_ = false;
  bool pipelining_ = false;
  enum class UidlOfOne { unknown, works, refused };
  UidlOfOne uidlOfOne_ = UidlOfOne::unknown;  // UIDL with a message number; else it lists all
  std::int32_t confirmed_ = 0;                // the number whose confirmation was the last thing to happen
};

}  // namespace vornelle
