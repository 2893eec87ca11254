#include "mail/pop3_client.h"

#include <algorithm>
#include <utility>

#include "base/text.h"
#include "platform/net_stream.h"

namespace vornelle {
namespace {

constexpr int kLongestCapabilityWait = 10'000;  // milliseconds
constexpr std::size_t kMostCapabilities = 1000;
constexpr std::string_view kOk = "+OK";
constexpr std::string_view kError = "-ERR";

// They would end the command and start another.
bool fitsInCommand(std::string_view argument) {
  return argument.find_first_of(std::string_view("\r\n\0", 3)) == std::string_view::npos;
}

bool isUidlOf(std::string_view line, const MaildropEntry& entry) {
  const std::optional<UidlLine> uidl = parseUidlLine(line);
  return uidl && uidl->number == entry.number && uidl->uidl == entry.uidl;
}

bool isPipelining(std::string_view line) {
  return equalsNoCase(line.substr(0, line.find(' ')), "PIPELINING");
}

}  // namespace

Pop3Client::Pop3Client(std::unique_ptr<MailConnector> connector, std::string account, std::string password,
                       int timeoutMilliseconds)
    : connector_(std::move(connector)),
      account_(std::move(account)),
      password_(std::move(password)),
      timeout_(timeoutMilliseconds) {}

Pop3Client::~Pop3Client() {
  // The answer is awaited: until it has come the server may still be deleting.
  if (endSeries()) static_cast<void>(ask("QUIT"));
}

bool Pop3Client::logOn() {
  begin(MailStep::loggingOn);
  if (!fitsInCommand(account_) || !fitsInCommand(password_)) {
    failure_.reason = MailReason::credentialsUnusable;
    return false;
  }
  const bool open = openLine();
  if (open) begin(MailStep::loggingOn);
  const bool loggedOn =
      open && ask("USER " + account_) == Answer::ok && ask("PASS " + password_) == Answer::ok;
  if (!loggedOn) leave();
  return loggedOn;
}

// The line as it is to be, with the server's greeting read.
bool Pop3Client::openLine() {
  for (;;) {
    begin(MailStep::connecting);
    mayTalk_ = !connector_->upgrades();
    line_.emplace(connector_->connect(failure_), timeout_);
    unanswered_ = 1;  // the greeting answers the connection
    if (!line_->alive()) return false;
    begin(MailStep::greeting);
    if (readAnswer(timeout_) != Answer::ok) return false;
    if (mayTalk_) return true;

    begin(MailStep::securing);
    std::unique_ptr<NetStream> stream = agreedToEncrypt();
    if (!stream) return false;
    MailConnector::Secured secured = connector_->secure(std::move(stream), failure_);
    if (secured.stream) {
      line_->reset(std::move(secured.stream));
      mayTalk_ = true;
      return true;
    }
    if (!secured.again) return false;
  }
}

// Asks for STLS. Null when the server does not agree, or has said more than that already.
std::unique_ptr<NetStream> Pop3Client::agreedToEncrypt() {
  const Answer answer = ask("STLS");
  if (answer == Answer::refused) failure_.reason = MailReason::tlsNotOffered;
  if (answer != Answer::ok) return nullptr;
  std::unique_ptr<NetStream> stream = line_->release();
  if (!stream) failure_.reason = MailReason::tlsInjected;
  return stream;
}

// Ends a session in which nothing has happened. Nobody waits for the answer.
void Pop3Client::leave() {
  if (!line_) return;
  if (unanswered_ == 0 && mayTalk_) static_cast<void>(line_->send("QUIT\r\n"));
  line_->kill(LineProblem::none);
}

void Pop3Client::begin(MailStep step) {
  step_ = step;
  failure_ = connector_->about();
  refusal_.clear();
}

MailFailure Pop3Client::failure() const {
  return lineFailure(failure_, step_, line_ ? line_->problem() : LineProblem::none,
                     cleanedWords(refusal_, password_));
}

void Pop3Client::abandon() {
  if (line_) line_->kill();
}

// ---- commands and answers ----

bool Pop3Client::sendCommands(std::string_view commands, int count) {
  return settleSeries() && sendInStep(commands, count);
}

bool Pop3Client::sendInStep(std::string_view commands, int count) {
  if (!line_ || !line_->alive()) return false;
  if (unanswered_ == 0 && line_->hasUnread()) {
    // More than was asked for: client and server do not mean the same answers any more.
    line_->kill();
    return false;
  }
  return sendAnyway(commands, count);
}

bool Pop3Client::sendAnyway(std::string_view commands, int count) {
  if (!line_ || !line_->alive()) return false;
  unanswered_ += count;
  confirmed_ = 0;
  return line_->send(commands);
}

Pop3Client::Answer Pop3Client::readAnswer(int timeoutMilliseconds) {
  const std::optional<std::string> line = line_->readLine(timeoutMilliseconds);
  if (!line) return Answer::dead;
  --unanswered_;
  refusal_.clear();
  if (startsWithNoCase(*line, kOk)) return Answer::ok;
  refusal_ = *line;
  if (startsWithNoCase(*line, kError)) return Answer::refused;
  line_->kill();
  return Answer::dead;
}

Pop3Client::Answer Pop3Client::ask(const std::string& command) {
  if (!sendCommands(command + "\r\n", 1)) return Answer::dead;
  const Answer answer = readAnswer(timeout_);
  if (answer != Answer::dead) capabilitiesOnTrial_ = false;
  return answer;
}

// The lines of an answer up to the one with a lone dot.
bool Pop3Client::readLines(std::size_t most, const std::function<bool(std::string_view)>& take) {
  for (std::size_t count = 0; const std::optional<std::string> line = line_->readLine(); ++count) {
    if (*line == ".") return true;
    if (count == most || !take(*line)) line_->kill();
  }
  return false;
}

bool Pop3Client::askList() {
  if (maildrop_) return line_ && line_->alive();
  if (ask("LIST") != Answer::ok) return false;
  Maildrop maildrop;
  if (!readLines(kMostMessages, [&](std::string_view line) { return maildrop.addListLine(line); }))
    return false;
  maildrop_ = std::move(maildrop);
  return true;
}

// False when the session is dead. Whether the ids are known is another question.
bool Pop3Client::askUidls() {
  if (uidlAsked_) return line_ && line_->alive();
  const Answer answer = ask("UIDL");
  if (answer == Answer::dead) return false;
  uidlAsked_ = true;
  if (answer == Answer::refused) return true;
  if (!readLines(kMostMessages, [&](std::string_view line) { return maildrop_->addUidlLine(line); }))
    return false;
  maildrop_->uidlComplete();
  return true;
}

// False when the session is dead.
bool Pop3Client::askCapabilities() {
  capabilitiesAllowed_ = false;
  if (!sendCommands("CAPA\r\n", 1)) return false;
  capabilitiesOnTrial_ = true;
  const Answer answer = readAnswer(std::min(timeout_, kLongestCapabilityWait));
  if (answer != Answer::ok) return answer == Answer::refused;
  return readLines(kMostCapabilities, [&](std::string_view line) {
    pipelining_ = pipelining_ || isPipelining(line);
    return true;
  });
}

// ---- confirmation ----

// Asks the server for the unique-id of that message and reads until the answer has come. True when it came at
// once: every answer so far was that to its own command, and the number still means this message. False in a
// session that goes on: something stood before the answer, such as the rest of a text that had ended too
// early. It has been read away, and the next answer is that to the next command.
bool Pop3Client::confirm(const MaildropEntry& entry) {
  if (confirmed_ == entry.number) return line_ && line_->alive();
  const std::string number = uidlOfOne_ == UidlOfOne::refused ? "" : " " + std::to_string(entry.number);
  return sendAnyway("UIDL" + number + "\r\n", 1) && readConfirmation(entry);
}

// Reads the answer to the question that confirm() sends. `mayBeRefused`: the message's text has been refused,
// so this may be refused too without a second question; the result is then false as well.
bool Pop3Client::readConfirmation(const MaildropEntry& entry, bool mayBeRefused) {
  std::size_t passed = 0;  // bytes so far
  bool listing = false;    // they are the start of a whole list and nothing else
  const auto confirmed = [&](bool atOnce) {
    --unanswered_;
    confirmed_ = atOnce ? entry.number : 0;
    return atOnce;
  };
  while (const std::optional<std::string> line = line_->readLine()) {
    const bool first = passed == 0;
    const bool ok = startsWithNoCase(*line, kOk);
    if (ok && isUidlOf(std::string_view(*line).substr(kOk.size()), entry)) {
      uidlOfOne_ = UidlOfOne::works;
      return confirmed(first);
    }
    if (isUidlOf(*line, entry)) {
      // Some servers list all, whatever the number.
      uidlOfOne_ = UidlOfOne::refused;
      return readLines(kMostMessages, [](std::string_view) { return true; }) && confirmed(listing);
    }
    if (first && mayBeRefused && startsWithNoCase(*line, kError)) return confirmed(false);
    if (uidlOfOne_ == UidlOfOne::unknown && startsWithNoCase(*line, kError)) {
      --unanswered_;
      uidlOfOne_ = UidlOfOne::refused;
      return confirm(entry);
    }
    passed += line->size() + kCrLf.size();
    if (passed > kLongestMessage || (listing && *line == ".")) line_->kill();
    listing = first ? ok : listing && parseUidlLine(*line);
  }
  return false;
}

// ---- single messages ----

std::optional<std::vector<std::string>> Pop3Client::fetchUidls() {
  begin(MailStep::listing);
  if (!askList() || !askUidls() || !maildrop_->knowsUidls()) return std::nullopt;
  std::vector<std::string> uidls;
  for (const MaildropEntry& entry : maildrop_->messages()) {
    if (!entry.uidl.empty()) uidls.push_back(entry.uidl);
  }
  return uidls;
}

std::optional<Pop3Client::Message> Pop3Client::fetchMessage(const std::string& uidl) {
  begin(MailStep::fetching);
  if (!askList() || !askUidls()) return std::nullopt;
  const MaildropEntry* const entry = maildrop_->findToRead(uidl);
  if (entry == nullptr) return std::nullopt;
  if (series_.brings(entry->number)) return fetchFromSeries(*entry);
  const std::string number = std::to_string(entry->number) + "\r\n";
  const bool both = pipelining_ && uidlOfOne_ == UidlOfOne::works;  // saves a wait
  if (!sendCommands("RETR " + number + (both ? "UIDL " + number : ""), both ? 2 : 1)) return std::nullopt;
  return readMessage(*entry, both);
}

// The answers to RETR and, where it is under way already, to the question that confirms it.
std::optional<Pop3Client::Message> Pop3Client::readMessage(const MaildropEntry& entry,
                                                           bool confirmationUnderWay) {
  // Only a whole text takes this back.
  maildrop_->keep(entry.number, true);
  const Answer answer = readAnswer(timeout_);
  if (answer == Answer::dead) return std::nullopt;
  const bool refused = answer == Answer::refused;
  Message message;
  message.size = entry.size;
  message.uidl = entry.uidl;
  // The announced size is a hint at best; memory is taken as the text comes in.
  const auto take = [&](std::string_view piece) { message.text += piece; };
  if (!refused && !line_->readText(kLongestMessage, take)) return std::nullopt;
  if (!(confirmationUnderWay ? readConfirmation(entry, refused) : refused || confirm(entry)))
    return std::nullopt;
  if (message.text.empty()) return std::nullopt;
  maildrop_->keep(entry.number, false);
  return message;
}

bool Pop3Client::deleteMessage(const std::string& uidl) {
  begin(MailStep::deleting);
  if (!askList() || !askUidls()) return false;
  const MaildropEntry* const entry = maildrop_->findToDelete(uidl);
  if (entry == nullptr) return false;
  if (maildrop_->isFetchedWhole(entry->number)) {
    series_.addDeletion(entry->number);
    maildrop_->deleted(entry->number);
    deletedSomething_ = true;
    return true;
  }
  if (!settleSeries() || !confirm(*entry)) return false;
  if (ask("DELE " + std::to_string(entry->number)) != Answer::ok) return false;
  maildrop_->deleted(entry->number);
  deletedSomething_ = true;
  return true;
}

}  // namespace vornelle
