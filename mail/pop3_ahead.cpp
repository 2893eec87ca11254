// The POP3 client's part in a series of messages that is fetched ahead (see pop3_series.h): it sends what the
// book says, and reads each answer in its turn.
//
// - A message is deleted only when the caller says so, and only one whose text has come whole and been
//   confirmed in its place. Until its DELE is answered nothing depends on it; every answer is read before
//   QUIT.
// - Any other command waits until the series has settled: every answer that is under way has been read, and
//   texts that were fetched ahead have been dropped.
#include <algorithm>
#include <utility>

#include "mail/pop3_client.h"
#include "platform/clock.h"

namespace vornelle {
namespace {

constexpr int kLongestFarewell = 10'000;  // milliseconds, beside the waits for a silent server

}  // namespace

bool Pop3Client::expect(const std::vector<std::string_view>& uidls) {
  if (!pipelining_ || uidlOfOne_ != UidlOfOne::works || !maildrop_) return false;
  std::vector<Pop3Series::Expected> messages;
  messages.reserve(uidls.size());
  for (const std::string_view uidl : uidls) {
    if (const MaildropEntry* const entry = maildrop_->findToRead(std::string(uidl)))
      messages.push_back({entry->number, entry->size});
  }
  series_.expect(std::move(messages));
  return true;
}

std::optional<Pop3Client::Message> Pop3Client::fetchFromSeries(const MaildropEntry& entry) {
  series_.skipTo(entry.number);
  for (;;) {
    const Pop3Series::Commands commands = series_.nextCommands();
    if (commands.count > 0 && !sendInStep(commands.text, commands.count)) return std::nullopt;
    const std::optional<Pop3Series::Step> step = series_.awaited();
    if (!step || !line_->alive()) return std::nullopt;
    if (step->deletion || step->number != entry.number) {
      if (!passStep(*step, {})) return std::nullopt;
      continue;
    }
    line_->startAnswer();
    std::optional<Message> message = readMessage(entry, true);
    series_.answered();
    if (message) maildrop_->fetchedWhole(entry.number);
    return message;
  }
}

// False when the session is dead.
bool Pop3Client::passStep(const Pop3Series::Step& step, std::optional<std::int64_t> deadline) {
  const auto intime = [&] {
    if (deadline && monotonicMilliseconds() > *deadline) line_->kill(LineProblem::timedOut);
  };
  line_->startAnswer();
  const Answer answer = readAnswer(timeout_);
  if (answer == Answer::dead) return false;
  if (step.deletion) {
    // The message stays where it is, and can be found again.
    if (answer == Answer::refused) maildrop_->deleted(step.number, false);
  } else {
    if (answer == Answer::ok && !line_->readText(kLongestMessage, [&](std::string_view) { intime(); }))
      return false;
    const MaildropEntry* const entry = maildrop_->find(step.number);
    // A text that nobody has taken says nothing of the message; one that was not whole does.
    if (!readConfirmation(*entry, answer == Answer::refused)) maildrop_->keep(step.number, true);
  }
  series_.answered();
  intime();
  return line_->alive();
}

// Reads every answer that is under way. False when the session is dead.
bool Pop3Client::settleSeries() {
  return passAll({});
}

bool Pop3Client::passAll(std::optional<std::int64_t> deadline) {
  if (series_.settled()) return true;
  const Pop3Series::Commands commands = series_.lastCommands();
  if (commands.count > 0 && !sendInStep(commands.text, commands.count)) return false;
  while (const std::optional<Pop3Series::Step> step = series_.awaited()) {
    if (!line_->alive() || !passStep(*step, deadline)) return false;
  }
  return true;
}

// Before QUIT. What is left to read of a series that is given up is read, so that its deletions hold; where
// that takes long the session ends without QUIT instead, and the server deletes nothing of it.
bool Pop3Client::endSeries() {
  return !line_ || !line_->alive() || passAll(monotonicMilliseconds() + std::min(timeout_, kLongestFarewell));
}

}  // namespace vornelle
