#include "platform/common/tls_stream.h"

#include <algorithm>
#include <array>
#include <new>
#include <utility>

#include "platform/clock.h"

namespace vornelle {
namespace {

using State = TlsEngine::State;

constexpr int kMostTimeOuts = 10;
// A system's wait may end that much earlier than the clock says, in milliseconds.
constexpr int kClockGrain = 20;
// A batch of records between two sends.
constexpr std::size_t kWriteBatch = std::size_t{64} * 1024;
// One read of the connection. A record takes 16 KB and a little.
constexpr std::size_t kReadBatch = std::size_t{32} * 1024;
// Handshakes take 5 to 20 KB, by the number of certificates.
constexpr std::size_t kLongestHandshake = std::size_t{1024} * 1024;

// The first bytes of a TLS record (RFC 8446, 5.1) tell more than some systems do.
constexpr char kAlert = 0x15;
constexpr char kHandshake = 0x16;
constexpr char kServerHello = 2;
constexpr std::size_t kHeadOfInterest = 11;  // record head 5, message head 4, version 2

int byteAt(std::string_view text, std::size_t at) {
  return at < text.size() ? static_cast<unsigned char>(text[at]) : -1;
}

// The description (RFC 8446, 6) of an alert that is the first thing which the peer says; -1: it is none.
int alertIn(std::string_view head) {
  const bool isAlert = byteAt(head, 0) == kAlert && byteAt(head, 3) == 0 && byteAt(head, 4) == 2;
  return isAlert ? byteAt(head, 6) : -1;
}
constexpr int kHandshakeFailure = 40;
constexpr int kProtocolVersion = 70;
constexpr int kInsufficientSecurity = 71;

// The peer has chosen a version that was not offered, since it knows no other.
bool choosesOldVersion(std::string_view head) {
  return byteAt(head, 0) == kHandshake && byteAt(head, 5) == kServerHello && head.size() >= kHeadOfInterest &&
         (byteAt(head, 9) << 8 | byteAt(head, 10)) < 0x0303;
}

class TlsStream final : public NetStream {
 public:
  TlsStream(std::unique_ptr<TlsEngine> engine, std::unique_ptr<NetStream> plain)
      : engine_(std::move(engine)), plain_(std::move(plain)) {}

  ~TlsStream() override {
    if (end_ != End::broken && up_) {
      engine_->close();
      (void)flush(0);
    }
  }
  TlsStream(const TlsStream&) = delete;
  TlsStream& operator=(const TlsStream&) = delete;

  // Once a connection, so built for size, as its helpers are.
  [[gnu::cold]] void handshake(std::int64_t until, TlsResult& result) {
    std::string head;  // the first bytes of the peer
    std::size_t total = 0;
    while (true) {
      const State state = engine_->handshake();
      const bool sent = flush(left(until));
      if (state == State::ready && sent) break;
      if (state != State::wantsBytes && state != State::ready) return tellFailure(head, result);
      if (!sent) return tellLineEnd(head, until, result);
      if (left(until) == 0) return fail(TlsProblem::timedOut, result);
      const std::optional<std::size_t> got = plain_->read(batch_.data(), batch_.size(), left(until));
      if (!got || *got == 0) return tellLineEnd(head, until, result);
      head.append(batch_.data(), std::min(*got, kHeadOfInterest - std::min(head.size(), kHeadOfInterest)));
      if (head[0] != kAlert && head[0] != kHandshake) return fail(TlsProblem::notTls, result);
      total += *got;
      if (total > kLongestHandshake) {
        result.system = "handshake too long";
        return fail(TlsProblem::refused, result);
      }
      engine_->receive({batch_.data(), *got});
    }
    up_ = true;
    result.protocol = engine_->protocol();
    TlsFinding finding = engine_->check(until);
    result.problem = finding.problem;
    result.certificateName = std::move(finding.certificateName);
    result.fingerprint = std::move(finding.fingerprint);
    result.system = std::move(finding.system);
  }

  [[nodiscard]] std::optional<std::size_t> read(char* buffer, std::size_t size,
                                                int timeoutMilliseconds) override {
    const std::int64_t lastEnd =
        monotonicMilliseconds() + std::int64_t{kMostTimeOuts} * std::max(timeoutMilliseconds, 0);
    bool first = true;  // a time-out of 0 looks once
    while (true) {
      if (end_ == End::ended) return 0;
      if (end_ == End::broken) return std::nullopt;
      std::size_t got = 0;
      const State state = engine_->read(buffer, size, got);
      // What the peer has sent is told even where it takes no more of ours; the next call fails then.
      if (!flush(timeoutMilliseconds)) end_ = End::broken;
      if (state == State::ready) return got;
      if (state == State::closed) end_ = End::ended;
      if (state == State::failed) end_ = End::broken;
      if (end_ != End::none) continue;
      const int wait = std::min(timeoutMilliseconds, left(lastEnd));
      if (wait <= 0 && !first) return std::nullopt;
      first = false;
      const std::optional<std::size_t> arrived = plain_->read(batch_.data(), batch_.size(), wait);
      if (!arrived) return std::nullopt;
      if (*arrived == 0) {
        end_ = engine_->endsHere() ? End::ended : End::broken;
      } else {
        engine_->receive({batch_.data(), *arrived});
      }
    }
  }

  [[nodiscard]] bool write(std::string_view bytes, int timeoutMilliseconds) override {
    while (end_ == End::none && !bytes.empty()) {
      const std::string_view piece = bytes.substr(0, kWriteBatch);
      bytes.remove_prefix(piece.size());
      const State state = engine_->write(piece);
      if (!flush(timeoutMilliseconds) || state != State::ready) end_ = End::broken;
    }
    return end_ == End::none;
  }

 private:
  enum class End { none, ended, broken };

  static int left(std::int64_t until) { return static_cast<int>(millisecondsUntil(until)); }

  [[nodiscard, gnu::noinline]] bool flush(int timeoutMilliseconds) {
    const std::string out = engine_->takeOutput();
    return out.empty() || plain_->write(out, timeoutMilliseconds);
  }

  static void fail(TlsProblem problem, TlsResult& result) { result.problem = problem; }

  // The engine has given up: for a version, for an alert, or for what it could make no sense of.
  [[gnu::cold]] void tellFailure(const std::string& head, TlsResult& result) const {
    TlsFinding finding = engine_->failure();
    result.problem = finding.problem;
    result.system = std::move(finding.system);
    const int alert = alertIn(head);
    if (alert >= 0) result.system += (result.system.empty() ? "alert " : ", alert ") + std::to_string(alert);
    if (result.problem != TlsProblem::refused) return;
    if (alert == kProtocolVersion || choosesOldVersion(head)) result.problem = TlsProblem::version;
    result.newestMayDo =
        engine_->holdsBackNewest() &&
        (alert == kProtocolVersion || alert == kHandshakeFailure || alert == kInsufficientSecurity);
  }

  // The line has failed or ended. Some servers hang up on a version that they do not speak.
  [[gnu::cold]] void tellLineEnd(const std::string& head, std::int64_t until, TlsResult& result) const {
    result.problem = left(until) <= kClockGrain ? TlsProblem::timedOut : TlsProblem::closed;
    result.newestMayDo = result.problem == TlsProblem::closed && head.empty() && engine_->holdsBackNewest();
  }

  const std::unique_ptr<TlsEngine> engine_;
  const std::unique_ptr<NetStream> plain_;
  std::array<char, kReadBatch> batch_{};
  bool up_ = false;  // past the handshake
  End end_ = End::none;
};

}  // namespace

[[gnu::cold]] TlsResult startTlsWith(std::unique_ptr<TlsEngine> engine, std::unique_ptr<NetStream> plain,
                                     int timeoutMilliseconds) {
  TlsResult result;
  if (!engine || !plain) {
    result.problem = TlsProblem::unavailable;
    return result;
  }
  const std::int64_t until = monotonicMilliseconds() + std::max(timeoutMilliseconds, 0);
  try {
    auto stream = std::make_unique<TlsStream>(std::move(engine), std::move(plain));
    stream->handshake(until, result);
    if (result.problem == TlsProblem::none) result.stream = std::move(stream);
  } catch (const std::bad_alloc&) {
    result.problem = TlsProblem::outOfMemory;
  }
  return result;
}

}  // namespace vornelle
