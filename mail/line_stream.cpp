#include "mail/line_stream.h"

#include <cstring>
#include <utility>

#include "mail/dot_stuffed_text.h"
#include "platform/clock.h"
#include "platform/net_stream.h"

namespace vornelle {
namespace {

// An answer that has taken this many time-outs must have come in at this speed, or more.
constexpr std::int64_t kPatience = 10;
constexpr std::int64_t kBytesPerSecond = 100;

// Why a wait that began at that time has come to nothing.
LineProblem lostSince(std::int64_t start, int timeoutMilliseconds) {
  const bool waited = monotonicMilliseconds() - start >= timeoutMilliseconds;
  return waited ? LineProblem::timedOut : LineProblem::closed;
}

}  // namespace

LineStream::LineStream(std::unique_ptr<NetStream> stream, int timeoutMilliseconds)
    : stream_(std::move(stream)),
      timeout_(timeoutMilliseconds),
      buffer_(std::make_unique<char[]>(kBufferSize)),
      answerStart_(monotonicMilliseconds()) {}

LineStream::~LineStream() = default;

void LineStream::kill(LineProblem why) {
  if (alive()) problem_ = why;
  stream_.reset();
  begin_ = end_ = 0;
}

std::unique_ptr<NetStream> LineStream::release() {
  if (hasUnread()) kill();
  return std::move(stream_);
}

void LineStream::reset(std::unique_ptr<NetStream> stream) {
  stream_ = std::move(stream);
  begin_ = end_ = 0;
  firstLineRead_ = bareLineFeeds_ = false;
  problem_ = LineProblem::none;
  startAnswer();
}

bool LineStream::send(std::string_view bytes) {
  if (!alive()) return false;
  startAnswer();
  if (!stream_->write(bytes, timeout_)) kill(lostSince(answerStart_, timeout_));
  return alive();
}

void LineStream::startAnswer() {
  answerStart_ = monotonicMilliseconds();
  answerBytes_ = 0;
}

bool LineStream::fill(int timeoutMilliseconds) {
  const std::int64_t start = monotonicMilliseconds();
  const std::optional<std::size_t> count = readMore(timeoutMilliseconds);
  if (!count) kill(lostSince(start, timeoutMilliseconds));
  return count > 0U;
}

// As NetStream::read; the stream is dead when it has ended, and goes on after a time-out.
std::optional<std::size_t> LineStream::readMore(int timeoutMilliseconds) {
  if (!alive()) return 0;
  const std::optional<std::size_t> count = stream_->read(buffer_.get(), kBufferSize, timeoutMilliseconds);
  if (!count) return std::nullopt;
  answerBytes_ += static_cast<std::int64_t>(*count);
  if (*count == 0 || crawls()) {
    kill(*count == 0 ? LineProblem::closed : LineProblem::timedOut);
    return 0;
  }
  begin_ = 0;
  end_ = *count;
  return count;
}

bool LineStream::crawls() const {
  const std::int64_t elapsed = monotonicMilliseconds() - answerStart_;
  return elapsed > kPatience * timeout_ && answerBytes_ < elapsed / 1000 * kBytesPerSecond;
}

std::optional<std::string> LineStream::readLine() {
  return readLine(timeout_);
}

std::optional<std::string> LineStream::readLine(int timeoutMilliseconds) {
  // The time-out holds for the whole line: a server that sends a byte now and then would hold the program for
  // days.
  const std::int64_t deadline = monotonicMilliseconds() + timeoutMilliseconds;
  std::string line;
  for (;;) {
    if (!hasUnread()) {
      const std::int64_t left = deadline - monotonicMilliseconds();
      if (left <= 0) kill(LineProblem::timedOut);
      if (!fill(static_cast<int>(left))) return std::nullopt;
    }
    const char* const start = buffer_.get() + begin_;
    const auto* const feed = static_cast<const char*>(std::memchr(start, '\n', end_ - begin_));
    const std::size_t count = feed != nullptr ? static_cast<std::size_t>(feed - start) : end_ - begin_;
    if (line.size() + count > kLongestAnswerLine) {
      kill();
      return std::nullopt;
    }
    line.append(start, count);
    begin_ += count;
    if (feed == nullptr) continue;
    ++begin_;
    const bool carriageReturn = line.ends_with('\r');
    if (carriageReturn) line.pop_back();
    if (!firstLineRead_) bareLineFeeds_ = !carriageReturn;
    firstLineRead_ = true;
    return line;
  }
}

bool LineStream::readText(std::size_t limit, const std::function<void(std::string_view)>& take) {
  DotStuffedText text(bareLineFeeds_, limit, take);
  while (!text.ended()) {
    if (!hasUnread()) {
      const std::int64_t start = monotonicMilliseconds();
      const std::optional<std::size_t> count = readMore(timeout_);
      if (!count && text.mayHaveEnded()) return true;
      if (!count) kill(lostSince(start, timeout_));
    }
    if (!alive()) return false;
    begin_ += text.read({buffer_.get() + begin_, end_ - begin_});
    if (text.tooLong()) kill();
  }
  return alive();
}

}  // namespace vornelle
