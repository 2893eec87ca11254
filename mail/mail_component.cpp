#include "mail/mail_component.h"

#include <algorithm>
#include <new>
#include <stdexcept>
#include <utility>

#include "base/module_state.h"
#include "core/settings.h"
#include "mail/mail_address.h"
#include "mail/mail_connector.h"
#include "mail/message_parser.h"
#include "mail/pop3_client.h"
#include "mail/smtp_client.h"
#include "platform/files.h"
#include "platform/net_stream.h"  // the clients hold streams

namespace vornelle {
namespace {

constexpr std::int16_t kDefaultTimeoutSeconds = 30;
constexpr std::int32_t kSent = 1;
constexpr std::int32_t kNotSent = 0;

// Bytes of a file in which most headers end.
constexpr std::size_t kUsualHeader = 8U << 10;

// What one list of headers may hold. A mailbox full of fields made to fill the memory meets it.
constexpr std::size_t kMostHeaderText = 512U << 20;

}  // namespace

std::unique_ptr<MailComponent> currentMail;
static const ModuleState currentMailState([] { currentMail.reset(); });

struct MailComponent::Impl {
  std::string popServer, popAccount, popPassword;
  std::string smtpServer, smtpUser, smtpPassword, smtpAuthMethod;
  std::int16_t timeoutSeconds = kDefaultTimeoutSeconds;
  std::unique_ptr<Pop3Client> pop;
  std::unique_ptr<SmtpClient> smtp;
  MailFailure failure;

  [[nodiscard]] int timeout() const { return std::max<int>(timeoutSeconds, 1) * 1000; }

  // Keeps how an operation has ended. `last` is for the pages, which ask when the component has gone: there a
  // failure stays until the next task has connected.
  bool ended(bool succeeded, const MailFailure& why, MailFailure& last) {
    failure = succeeded ? MailFailure{} : why;
    if (!succeeded) last = failure;
    return succeeded;
  }
  bool smtpEnded(bool succeeded) { return ended(succeeded, smtp->failure(), lastMailFailures.smtp); }

  // Runs a step of the POP3 session and keeps how it has ended. Where the memory does not suffice the step
  // fails, and with it the session: who knows how much of an answer has been read. `otherwise` is the reason
  // of a failure that neither the line nor the server has told.
  template <typename Step>
  auto inSession(MailReason otherwise, const Step& step) -> decltype(step()) {
    decltype(step()) result{};
    bool memorySufficed = false;
    try {
      result = step();
      memorySufficed = true;
    } catch (const std::bad_alloc&) {
      pop->abandon();
    } catch (const std::length_error&) {
      pop->abandon();
    }
    MailFailure why = pop->failure();
    if (why.reason == MailReason::none) why.reason = otherwise;
    if (!memorySufficed) why.reason = MailReason::outOfMemory;
    ended(static_cast<bool>(result), why, lastMailFailures.pop);
    return result;
  }
};

MailComponent::MailComponent() : impl_(std::make_unique<Impl>()) {}
MailComponent::~MailComponent() = default;

void MailComponent::setPopServer(std::string host) {
  impl_->popServer = std::move(host);
}
void MailComponent::setPopAccount(std::string account) {
  impl_->popAccount = std::move(account);
}
void MailComponent::setPopPassword(std::string password) {
  impl_->popPassword = std::move(password);
}
void MailComponent::setSmtpServer(std::string host) {
  impl_->smtpServer = std::move(host);
}
void MailComponent::setSmtpUser(std::string user) {
  impl_->smtpUser = std::move(user);
}
void MailComponent::setSmtpPassword(std::string password) {
  impl_->smtpPassword = std::move(password);
}
void MailComponent::setSmtpAuthMethod(std::string method) {
  impl_->smtpAuthMethod = std::move(method);
}
void MailComponent::setTimeoutSeconds(std::int16_t seconds) {
  impl_->timeoutSeconds = seconds;
}

// ---- POP3 ----

bool MailComponent::popConnect() {
  impl_->pop.reset();
  auto connector = std::make_unique<ServerConnector>(impl_->popServer, MailProtocol::pop3, impl_->timeout());
  auto pop = std::make_unique<Pop3Client>(std::move(connector), impl_->popAccount, impl_->popPassword,
                                          impl_->timeout());
  const bool loggedOn = pop->logOn();
  lastMailFailures.pop = {};
  if (impl_->ended(loggedOn, pop->failure(), lastMailFailures.pop)) impl_->pop = std::move(pop);
  return loggedOn;
}

std::unique_ptr<HeaderList> MailComponent::popGetHeaderList(int /*option*/) {
  if (!impl_->pop) return nullptr;
  return impl_->inSession(MailReason::saidNo, [this]() -> std::unique_ptr<HeaderList> {
    auto list = std::make_unique<HeaderList>();
    std::size_t textSize = 0;
    const auto take = [&](std::size_t place, const MaildropEntry& entry, std::string_view header) {
      MailMessage message = parseMessageHeader(header);
      message.size = entry.size;
      message.uidl = entry.uidl;
      message.headerPresent = entry.hasHeader;
      textSize += message.from.size() + message.subject.size();
      if (list->messages.size() <= place) list->messages.resize(place + 1);
      list->messages[place] = std::move(message);
      return textSize <= kMostHeaderText;
    };
    if (!impl_->pop->fetchHeaders(take)) return nullptr;
    return list;
  });
}

bool MailComponent::popExpect(const std::vector<std::string_view>& uidls) {
  try {
    // No step of the session: nothing is said on the line, and where it is not done nothing has failed.
    return impl_->pop && impl_->pop->expect(uidls);
  } catch (const std::bad_alloc&) {
    return false;
  }
}

std::unique_ptr<MailMessage> MailComponent::popGetMessage(const std::string& uidl) {
  if (!impl_->pop) return nullptr;
  return impl_->inSession(MailReason::noMessage, [&]() -> std::unique_ptr<MailMessage> {
    std::optional<Pop3Client::Message> fetched = impl_->pop->fetchMessage(uidl);
    if (!fetched) return nullptr;
    auto message = std::make_unique<MailMessage>(parseMessage(std::move(fetched->text)));
    message->size = fetched->size;
    message->uidl = std::move(fetched->uidl);
    return message;
  });
}

std::unique_ptr<UidlList> MailComponent::popGetUidls() {
  if (!impl_->pop) return nullptr;
  return impl_->inSession(MailReason::saidNo, [this]() -> std::unique_ptr<UidlList> {
    std::optional<std::vector<std::string>> uidls = impl_->pop->fetchUidls();
    if (!uidls) return nullptr;
    auto list = std::make_unique<UidlList>();
    list->uidls = std::move(*uidls);
    return list;
  });
}

bool MailComponent::popDeleteMessage(const std::string& uidl) {
  return impl_->pop &&
         impl_->inSession(MailReason::noMessage, [&] { return impl_->pop->deleteMessage(uidl); });
}

// ---- SMTP ----

bool MailComponent::smtpConnect() {
  auto connector = std::make_unique<ServerConnector>(impl_->smtpServer, MailProtocol::smtp, impl_->timeout());
  impl_->smtp.reset();  // an older session ends first
  impl_->smtp = std::make_unique<SmtpClient>(std::move(connector), impl_->timeout());
  lastMailFailures.smtp = {};
  const bool greeted = impl_->smtpEnded(impl_->smtp->greet());
  if (!greeted) impl_->smtp.reset();
  return greeted;
}

bool MailComponent::smtpLogin() {
  if (!impl_->smtp && !smtpConnect()) return false;
  // AUTH LOGIN is the only method there is, whatever name has been stored.
  return impl_->smtpUser.empty() ||
         impl_->smtpEnded(impl_->smtp->authenticate(impl_->smtpUser, impl_->smtpPassword));
}

std::int32_t MailComponent::smtpSendRaw(const std::string& from, const std::string& to,
                                        const std::string& text) {
  if (!impl_->smtp) return kNotSent;
  // A line end in an address would start a command of its own.
  const bool oneLine = (from + to).find_first_of("\r\n") == std::string::npos;
  const std::string recipient = oneLine ? recipientAddress(to) : "";
  return impl_->smtpEnded(impl_->smtp->sendMessage(envelopeAddress(from), recipient, text)) ? kSent
                                                                                            : kNotSent;
}

const MailFailure& MailComponent::failure() const {
  return impl_->failure;
}

// ---- messages from the disk ----

std::unique_ptr<MailMessage> MailComponent::loadMessageFile(const std::string& path) {
  try {
    std::optional<std::string> text = readFile(path);
    return text ? std::make_unique<MailMessage>(parseMessage(std::move(*text))) : nullptr;
  } catch (const std::bad_alloc&) {
    return nullptr;  // a file that the memory does not hold is one that cannot be read
  }
}

std::unique_ptr<MailMessage> MailComponent::loadMessageFileHeader(const std::string& path) {
  try {
    for (std::size_t most = kUsualHeader;; most *= 4) {
      const std::optional<FileStart> start = readFileStart(path, most);
      if (!start) return nullptr;
      const bool whole = start->text.size() < most || start->text.size() == start->length;
      std::optional<MailMessage> message = parseMessageStart(start->text, whole);
      if (!message) continue;
      message->size = messageSize(start->length);
      return std::make_unique<MailMessage>(std::move(*message));
    }
  } catch (const std::exception&) {
    return nullptr;  // no memory, as above
  }
}

MailComponent& newPopComponent() {
  // The older session ends first: a server lets only one in at a time.
  currentMail.reset();
  currentMail = std::make_unique<MailComponent>();
  currentMail->setPopServer(settings.POP_SERVER);
  currentMail->setPopAccount(settings.POP_ACCOUNT);
  currentMail->setPopPassword(settings.POP_PASSWORD);
  currentMail->setTimeoutSeconds(settings.mailTimeoutSeconds);
  return *currentMail;
}

MailComponent& newMailComponent() {
  MailComponent& component = newPopComponent();
  component.setSmtpServer(settings.SMTP_SERVER);
  if (settings.SMTP_USER.empty()) return component;
  component.setSmtpUser(settings.SMTP_USER);
  component.setSmtpPassword(settings.SMTP_PASSWORD);
  component.setSmtpAuthMethod("LOGIN");
  return component;
}

}  // namespace vornelle
