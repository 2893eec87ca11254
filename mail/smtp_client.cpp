#include "mail/smtp_client.h"

#include <algorithm>

#include "base/text.h"
#include "mail/base64.h"
#include "platform/net_stream.h"

namespace vornelle {
namespace {

constexpr std::size_t kLongestReply = 64U << 10;
constexpr std::size_t kPiece = 64U << 10;

// The address literal of this machine as it knows itself (RFC 5321, 4.1.4): a desktop has no name that the
// world knows.
constexpr std::string_view kOwnName = "[127.0.0.1]";

bool hasEightBit(std::string_view text) {
  return std::any_of(text.begin(), text.end(),
                     [](char c) { return (static_cast<unsigned char>(c) & 0x80U) != 0; });
}

bool breaksCommand(std::string_view argument) {
  return argument.find_first_of(std::string_view("\r\n\0<>", 5)) != std::string_view::npos;
}

}  // namespace

SmtpClient::SmtpClient(std::unique_ptr<MailConnector> connector, int timeoutMilliseconds)
    : connector_(std::move(connector)), timeout_(timeoutMilliseconds) {}

SmtpClient::~SmtpClient() {
  static_cast<void>(ask("QUIT"));
}

void SmtpClient::begin(MailStep step) {
  step_ = step;
  failure_ = connector_->about();
  said_.clear();
}

MailFailure SmtpClient::failure() const {
  return lineFailure(failure_, step_, line_ ? line_->problem() : LineProblem::none,
                     cleanedWords(cleanedWords(said_, secret_), base64Encode(secret_)));
}

std::optional<SmtpClient::Reply> SmtpClient::readReply() {
  Reply reply;
  for (;;) {
    const std::optional<std::string> line = line_->readLine();
    if (!line) return std::nullopt;
    said_ = *line;
    const bool wellFormed = line->size() >= 3 && isDigit((*line)[0]) && isDigit((*line)[1]) &&
                            isDigit((*line)[2]) &&
                            (line->size() == 3 || (*line)[3] == ' ' || (*line)[3] == '-');
    if (!wellFormed || reply.text.size() + line->size() > kLongestReply) {
      line_->kill();
      return std::nullopt;
    }
    reply.code = ((*line)[0] - '0') * 100 + ((*line)[1] - '0') * 10 + ((*line)[2] - '0');
    if (line->size() > 3) reply.text.append(*line, 4);
    reply.text.push_back('\n');
    if (line->size() == 3 || (*line)[3] == ' ') break;
  }
  if (reply.code == 421) line_->kill(LineProblem::none);  // the server is closing the line
  return reply;
}

std::optional<SmtpClient::Reply> SmtpClient::ask(const std::string& command) {
  if (!line_ || !line_->send(command + "\r\n")) return std::nullopt;
  return readReply();
}

bool SmtpClient::greet() {
  const bool greeted = openLine() && introduce();
  // On a line that was to be encrypted and is not, nothing more is said.
  if (!greeted && connector_->upgrades() && line_) line_->kill(LineProblem::none);
  return greeted;
}

// The line as it is to be, with the server's greeting read.
bool SmtpClient::openLine() {
  for (;;) {
    begin(MailStep::connecting);
    line_.emplace(connector_->connect(failure_), timeout_);
    if (!line_->alive()) return false;
    begin(MailStep::greeting);
    const std::optional<Reply> greeting = readReply();
    if (!greeting || !greeting->positive()) return false;
    if (!connector_->upgrades()) return true;

    begin(MailStep::securing);
    std::unique_ptr<NetStream> stream = agreedToEncrypt();
    if (!stream) return false;
    MailConnector::Secured secured = connector_->secure(std::move(stream), failure_);
    if (secured.stream) {
      line_->reset(std::move(secured.stream));
      begin(MailStep::greeting);
      return true;
    }
    if (!secured.again) return false;
  }
}

// Asks for STARTTLS, whether it is announced or not: the answer tells more. Null when the server does not
// agree, or has said more than that already.
std::unique_ptr<NetStream> SmtpClient::agreedToEncrypt() {
  const std::optional<Reply> extended = ask("EHLO " + std::string(kOwnName));
  if (!extended) return nullptr;
  if (line_->hasUnread()) {  // an answer to STARTTLS before it has been asked
    failure_.reason = MailReason::tlsInjected;
    return nullptr;
  }
  std::optional<Reply> agreed;
  if (extended->positive() && !(agreed = ask("STARTTLS"))) return nullptr;
  if (!agreed || agreed->code != 220) {
    failure_.reason = MailReason::tlsNotOffered;
    return nullptr;
  }
  std::unique_ptr<NetStream> stream = line_->release();
  if (!stream) failure_.reason = MailReason::tlsInjected;
  return stream;
}

bool SmtpClient::introduce() {
  const std::optional<Reply> extended = ask("EHLO " + std::string(kOwnName));
  if (!extended) return false;
  if (!extended->positive()) {
    const std::optional<Reply> plain = ask("HELO " + std::string(kOwnName));
    return plain && plain->positive();
  }
  for (const std::string& line : splitLines(extended->text)) {
    if (equalsNoCase(trim(line), "8BITMIME")) eightBitMime_ = true;
  }
  return true;
}

bool SmtpClient::authenticate(std::string_view user, std::string_view password) {
  begin(MailStep::loggingOn);
  secret_ = password;
  const std::optional<Reply> userAsked = ask("AUTH LOGIN");
  if (!userAsked || userAsked->code != 334) return false;
  const std::optional<Reply> passwordAsked = ask(base64Encode(user));
  if (!passwordAsked || passwordAsked->code != 334) return false;
  const std::optional<Reply> done = ask(base64Encode(password));
  return done && done->positive();
}

bool SmtpClient::sendMessage(std::string_view sender, std::string_view recipient, std::string_view text) {
  begin(MailStep::sending);
  if (breaksCommand(sender) || breaksCommand(recipient) || recipient.empty()) {
    failure_.reason = MailReason::addressUnusable;
    return false;
  }
  std::string mail = "MAIL FROM:<" + std::string(sender) + ">";
  if (eightBitMime_ && hasEightBit(text)) mail += " BODY=8BITMIME";
  const std::optional<Reply> mailTaken = ask(mail);
  if (!mailTaken || !mailTaken->positive()) return false;
  const std::optional<Reply> recipientTaken = ask("RCPT TO:<" + std::string(recipient) + ">");
  std::optional<Reply> dataAwaited;
  if (recipientTaken && recipientTaken->positive()) dataAwaited = ask("DATA");
  if (!dataAwaited || dataAwaited->code != 354) {
    const std::string refusal = said_;
    static_cast<void>(ask("RSET"));  // the next message starts afresh
    said_ = refusal;
    return false;
  }
  if (!sendText(text)) return false;
  const std::optional<Reply> taken = readReply();
  return taken && taken->positive();
}

// A dot at the start of a line is doubled. Lines that end with a lone LF or CR count as well: some servers
// take these for line ends, and then a stranger's text could end the message and go on with commands of its
// own.
bool SmtpClient::sendText(std::string_view text) {
  std::string piece;
  piece.reserve(kPiece + 8);
  char before = '\n';
  for (const char c : text) {
    if (c == '.' && (before == '\n' || before == '\r')) piece.push_back('.');
    piece.push_back(c);
    before = c;
    if (piece.size() >= kPiece) {
      if (!line_->send(piece)) return false;
      piece.clear();
    }
  }
  if (!text.empty() && !text.ends_with("\r\n")) piece += "\r\n";
  piece += ".\r\n";
  return line_->send(piece);
}

}  // namespace vornelle
