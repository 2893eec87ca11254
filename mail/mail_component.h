// The mail component: the program's POP3 and SMTP client as the rest of the program sees it, and its result
// objects. Nothing else speaks a mail protocol.
//
// Each mail task puts a new component into the one program-wide slot, configures it, works, and releases it,
// which ends the session politely (QUIT, so that deletions take effect) unless a protocol or network error
// has killed the session: then it ends without QUIT and the server deletes nothing. A task that starts while
// another one yields replaces the component; the older task's later operations then find none and fail.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "mail/mail_failure.h"

namespace vornelle {

class Pop3Client;
class SmtpClient;

// What a message has to read.
struct MessageBodies {
  std::string plain, html;
  std::string text;  // whatever the message's structure
  bool plainPresent = false, htmlPresent = false;
};

// One message, fetched from the server or parsed from a SpamBox file. All texts but the source are the
// program's own (base/characters.h).
class MailMessage {
 public:
  [[nodiscard]] const std::string& getSubject() const { return subject; }
  // The whole From field, unfolded and decoded.
  [[nodiscard]] const std::string& getFromAddress() const { return from; }
  [[nodiscard]] const std::string& getFromDisplay() const { return from; }
  // Seconds since 1970 UTC; nullopt when the message has no date that can be read.
  [[nodiscard]] std::optional<std::int64_t> getDate() const { return date; }
  // The source exactly as the server has sent it or the file holds it.
  [[nodiscard]] const std::string& getRawText() const { return rawText; }
  [[nodiscard]] const std::string& getPlainBody() const { return bodies().plain; }
  [[nodiscard]] const std::string& getHtmlBody() const { return bodies().html; }
  [[nodiscard]] const std::string& getBodyText(int /*option*/) const { return bodies().text; }
  [[nodiscard]] const std::string& getUidl() const { return uidl; }
  [[nodiscard]] std::int32_t getSize() const { return size; }  // bytes
  [[nodiscard]] bool hasPlainBody() const { return bodies().plainPresent; }
  [[nodiscard]] bool hasHtmlBody() const { return bodies().htmlPresent; }

  std::string from, subject, uidl, rawText;
  std::optional<std::int64_t> date;
  std::int32_t size = 0;
  // False: the server lists the message and gives no header. Nobody can judge it; it can be deleted by its
  // id.
  bool headerPresent = true;

 private:
  // Decoded from rawText when they are first asked for: most messages are saved or listed and never shown.
  // What the memory does not hold is empty.
  [[nodiscard]] const MessageBodies& bodies() const;

  mutable std::unique_ptr<MessageBodies> bodies_;
};

// One message for each place of the mailbox, in mailbox order.
class HeaderList {
 public:
  [[nodiscard]] std::int32_t getCount() const { return static_cast<std::int32_t>(messages.size()); }
  // Sender, subject, date, size and UIDL are filled in; null for an index outside 0 to count - 1.
  [[nodiscard]] const MailMessage* getItem(std::int32_t index) const {
    return index >= 0 && index < getCount() ? &messages[static_cast<std::size_t>(index)] : nullptr;
  }
  void listPrepare(int /*option*/) {}
  std::vector<MailMessage> messages;
};

class UidlList {
 public:
  [[nodiscard]] std::int32_t getCount() const { return static_cast<std::int32_t>(uidls.size()); }
  [[nodiscard]] const std::string* getItem(std::int32_t index) const {
    return index >= 0 && index < getCount() ? &uidls[static_cast<std::size_t>(index)] : nullptr;
  }
  std::vector<std::string> uidls;
};

class MailComponent {
 public:
  MailComponent();
  ~MailComponent();  // ends the open session
  MailComponent(const MailComponent&) = delete;
  MailComponent& operator=(const MailComponent&) = delete;

  // What a host may say besides its name (port, encryption) stands in mail/server_address.h.
  void setPopServer(std::string host);
  void setPopAccount(std::string account);
  void setPopPassword(std::string password);
  void setSmtpServer(std::string host);
  void setSmtpUser(std::string user);
  void setSmtpPassword(std::string password);
  void setSmtpAuthMethod(std::string method);    // "LOGIN"
  void setTimeoutSeconds(std::int16_t seconds);  // for each network wait; 30 when never set

  // Connects and logs on (USER, PASS; RFC 1939). False on any failure.
  [[nodiscard]] bool popConnect();
  // Headers, sizes and unique-ids of every message; null on failure. A message whose unique-id cannot be told
  // has an empty one: it can be neither fetched nor deleted.
  [[nodiscard]] std::unique_ptr<HeaderList> popGetHeaderList(int option);
  // Tells which messages will most likely be got next, in this order, so that they can be under way before
  // they are asked for. Binds nobody. False where the connection does not allow it, and then nothing has
  // changed.
  bool popExpect(const std::vector<std::string_view>& uidls);
  // The whole message; null on failure, and then it is not deleted in this session either.
  [[nodiscard]] std::unique_ptr<MailMessage> popGetMessage(const std::string& uidl);
  // Null on failure, which includes servers without UIDL.
  [[nodiscard]] std::unique_ptr<UidlList> popGetUidls();
  // Marks the message deleted; it is gone when the session ends with QUIT. False when it could not be marked.
  // For a message that was expected, true says that it has been asked for: a refusal comes later, is passed
  // over, and leaves the message in the mailbox.
  bool popDeleteMessage(const std::string& uidl);

  // Connects and greets (EHLO, HELO where that is refused; RFC 5321). False on any failure.
  [[nodiscard]] bool smtpConnect();
  // Connects and greets if that has not been done, then authenticates (AUTH, RFC 4954, with the
  // mechanism LOGIN) when a user is set.
  [[nodiscard]] bool smtpLogin();
  // Sends the text (dot-stuffed on the wire only). 1: sent. Anything else: not sent. Sender and recipient are
  // taken as a From field and the user's entry have them; mail/mail_address.h finds the addresses in them.
  [[nodiscard]] std::int32_t smtpSendRaw(const std::string& from, const std::string& to,
                                         const std::string& text);

  // Reads a message's source from a file; null when it cannot be read. Size is the length of the text;
  // missing fields are empty.
  [[nodiscard]] static std::unique_ptr<MailMessage> loadMessageFile(const std::string& path);
  // The same without the text and without bodies: the file is read no further than its header goes.
  [[nodiscard]] static std::unique_ptr<MailMessage> loadMessageFileHeader(const std::string& path);

  // Why the last operation on a server failed; no failure when it did not.
  [[nodiscard]] const MailFailure& failure() const;

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

// The program-wide slot: the current mail component, or null.
extern std::unique_ptr<MailComponent> currentMail;

// Puts a new component into the slot, configured with the POP3 settings and the time-out.
MailComponent& newPopComponent();
// The same with the SMTP server besides, and its user where there is one.
MailComponent& newMailComponent();

}  // namespace vornelle
