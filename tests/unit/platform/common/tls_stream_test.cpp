#include "platform/common/tls_stream.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <deque>
#include <limits>
#include <string>

#include "platform/clock.h"
#include "platform/modGoToSleep.h"
#include "platform/sim/sim.h"
#include "tests/unit/platform/common/made_up_tls.h"

namespace vornelle {

TlsFinding MadeUpEngine::check(std::int64_t until) {
  script_.checkedUntil = until;
  pause(script_.checkTakes);
  return script_.finding;
}

namespace {

constexpr std::size_t kNoLimit = std::numeric_limits<std::size_t>::max();

// What the connection under TLS does.
struct Line {
  struct Piece {
    int after;  // milliseconds since the one before
    std::string bytes;
  };
  enum class Then { silence, end, broken };

  std::deque<Piece> pieces;
  Then then = Then::silence;
  std::size_t takes = kNoLimit;  // bytes of the caller; what goes beyond times out
  std::string sent;              // by the caller
  bool gone = false;

  void add(const std::string& bytes, int after = 0) { pieces.push_back({after, bytes}); }
  void addInPieces(const std::string& bytes, std::size_t size, int after) {
    for (std::size_t at = 0; at < bytes.size(); at += size) add(bytes.substr(at, size), after);
  }
};

class LineStreamUnderTls : public NetStream {
 public:
  explicit LineStreamUnderTls(Line& line) : line_(line) {}
  ~LineStreamUnderTls() override { line_.gone = true; }

  std::optional<std::size_t> read(char* buffer, std::size_t size, int timeout) override {
    if (line_.pieces.empty()) {
      if (line_.then == Line::Then::end) return 0;
      if (line_.then == Line::Then::silence) pause(timeout);
      return std::nullopt;
    }
    Line::Piece& piece = line_.pieces.front();
    if (piece.after > timeout) {
      piece.after -= timeout;
      pause(timeout);
      return std::nullopt;
    }
    pause(piece.after);
    piece.after = 0;
    const std::size_t got = std::min(size, piece.bytes.size());
    piece.bytes.copy(buffer, got);
    piece.bytes.erase(0, got);
    if (piece.bytes.empty()) line_.pieces.pop_front();
    return got;
  }

  bool write(std::string_view bytes, int timeout) override {
    const std::size_t room = std::min(bytes.size(), line_.takes - std::min(line_.takes, line_.sent.size()));
    line_.sent += bytes.substr(0, room);
    if (room == bytes.size()) return true;
    pause(timeout);
    return false;
  }

 private:
  Line& line_;
};

const std::string kHello = madeUpRecord(0x16, "hello") + madeUpRecord(0x16, "second");

class TlsStreamTest : public testing::Test {
 protected:
  TlsStreamTest() { sim::reset(); }

  TlsResult start(int timeout = 30000) {
    return startTlsWith(std::make_unique<MadeUpEngine>(script), std::make_unique<LineStreamUnderTls>(line),
                        timeout);
  }
  // With the handshake done.
  std::unique_ptr<NetStream> open() {
    line.pieces.push_front({0, madeUpHandshake()});
    TlsResult result = start();
    EXPECT_TRUE(result.stream);
    return std::move(result.stream);
  }
  static std::string readOnce(NetStream& stream, int timeout = 1000, std::size_t size = 4000) {
    std::string buffer(size, '\0');
    const std::optional<std::size_t> got = stream.read(buffer.data(), size, timeout);
    return !got ? "(nothing)" : *got == 0 ? "(end)" : buffer.substr(0, *got);
  }
  // Everything up to "(end)" or "(nothing)".
  static std::string readAll(NetStream& stream, int timeout = 1000) {
    std::string all;
    while (true) {
      const std::string piece = readOnce(stream, timeout);
      all += piece;
      if (piece == "(end)" || piece == "(nothing)") return all;
    }
  }

  MadeUpEngine::Script script;
  Line line;
};

TEST_F(TlsStreamTest, TheHandshakeGoesBackAndForthAndTheCertificateIsChecked) {
  script.finding.certificateName = "mail.example";
  script.finding.fingerprint = "abc";
  line.add(madeUpHandshake());
  const TlsResult result = start();
  ASSERT_TRUE(result.stream);
  EXPECT_EQ(result.problem, TlsProblem::none);
  EXPECT_EQ(result.protocol, "TLS 9");
  EXPECT_EQ(result.certificateName, "mail.example");
  EXPECT_EQ(result.fingerprint, "abc");
  EXPECT_EQ(line.sent, kHello);
}

TEST_F(TlsStreamTest, WithoutAnEngineTlsIsUnavailable) {
  const TlsResult result = startTlsWith(nullptr, std::make_unique<LineStreamUnderTls>(line), 1000);
  EXPECT_EQ(result.problem, TlsProblem::unavailable);
  EXPECT_FALSE(result.stream);
  EXPECT_TRUE(line.gone);
}

TEST_F(TlsStreamTest, ARefusedCertificateLeavesNoStream) {
  line.add(madeUpHandshake());
  script.finding = {TlsProblem::expired, "mail.example", "abc", "code"};
  const TlsResult result = start();
  EXPECT_FALSE(result.stream);
  EXPECT_EQ(result.problem, TlsProblem::expired);
  EXPECT_EQ(result.fingerprint, "abc");
  EXPECT_EQ(result.system, "code");
  EXPECT_TRUE(line.gone);
  EXPECT_EQ(line.sent, kHello + madeUpEnd());  // and nothing of the caller's
}

TEST_F(TlsStreamTest, HandshakeAndCheckShareOneDeadline) {
  const std::int64_t start0 = monotonicMilliseconds();
  line.add(madeUpRecord(0x16, "first"), 12000);
  line.add(madeUpRecord(0x16, "ready"), 12000);
  EXPECT_EQ(start(30000).problem, TlsProblem::none);
  EXPECT_EQ(script.checkedUntil, start0 + 30000);
}

TEST_F(TlsStreamTest, AHandshakeByDripsEndsAtItsDeadline) {
  line.addInPieces(madeUpHandshake(), 1, 2000);
  EXPECT_EQ(start(30000).problem, TlsProblem::timedOut);
  EXPECT_EQ(sim::elapsedMilliseconds(), 30000);
}

TEST_F(TlsStreamTest, ASilentPeerIsATimeOutAtEveryStepOfTheHandshake) {
  const std::string whole = madeUpHandshake();
  for (std::size_t length = 0; length < whole.size(); ++length) {
    line = {};
    if (length > 0) line.add(whole.substr(0, length), 500);
    const std::int64_t before = monotonicMilliseconds();
    EXPECT_EQ(start(30000).problem, TlsProblem::timedOut) << length;
    EXPECT_EQ(monotonicMilliseconds() - before, 30000) << length;
  }
}

TEST_F(TlsStreamTest, ALineThatIsCutDuringTheHandshakeIsClosedAtEveryByte) {
  const std::string whole = madeUpHandshake();
  for (const Line::Then then : {Line::Then::end, Line::Then::broken}) {
    for (std::size_t length = 0; length < whole.size(); ++length) {
      line = {};
      line.then = then;
      if (length > 0) line.add(whole.substr(0, length));
      const TlsResult result = start();
      EXPECT_EQ(result.problem, TlsProblem::closed) << length;
      EXPECT_FALSE(result.stream);
    }
  }
  EXPECT_EQ(sim::elapsedMilliseconds(), 0);
}

TEST_F(TlsStreamTest, AHandshakeInPiecesOfAnySizeIsWhole) {
  const std::string whole = madeUpHandshake();
  for (std::size_t size = 1; size <= whole.size(); ++size) {
    line = {};
    line.addInPieces(whole, size, 1);
    EXPECT_EQ(start().problem, TlsProblem::none) << size;
  }
}

TEST_F(TlsStreamTest, APeerWithoutTlsIsToldAtItsFirstByte) {
  for (int first = 0; first < 256; ++first) {
    if (first == 0x15 || first == 0x16) continue;
    line = {};
    line.add(std::string(1, static_cast<char>(first)));
    EXPECT_EQ(start().problem, TlsProblem::notTls) << first;
  }
  EXPECT_EQ(sim::elapsedMilliseconds(), 0);
}

TEST_F(TlsStreamTest, AnAlertOfThePeerIsToldByItsNumber) {
  line.add(madeUpRecord(0x15, "\2\x50"));
  const TlsResult result = start();
  EXPECT_EQ(result.problem, TlsProblem::refused);
  EXPECT_EQ(result.system, "made-up, alert 80");
  EXPECT_FALSE(result.newestMayDo);
}

TEST_F(TlsStreamTest, AnAlertAboutTheVersionIsAProblemOfTheVersion) {
  line.add(madeUpRecord(0x15, "\2\x46"));
  const TlsResult result = start();
  EXPECT_EQ(result.problem, TlsProblem::version);
  EXPECT_FALSE(result.newestMayDo);
}

TEST_F(TlsStreamTest, AnOldVersionThatThePeerChoosesIsAProblemOfTheVersion) {
  line.add(madeUpRecord(0x16, std::string("\2\0\0\4\3\1", 6)));
  EXPECT_EQ(start().problem, TlsProblem::version);
  line = {};
  line.add(madeUpRecord(0x16, std::string("\2\0\0\4\3\3", 6)));
  EXPECT_EQ(start().problem, TlsProblem::refused);
}

TEST_F(TlsStreamTest, WhereTheNewestIsHeldBackItMayDoForAServerThatRefusesTheRest) {
  script.holdsBackNewest = true;
  for (const char* alert : {"\2\x46", "\2\x28", "\2\x47"}) {
    line = {};
    line.add(madeUpRecord(0x15, alert));
    EXPECT_TRUE(start().newestMayDo);
  }
  line = {};
  line.add(madeUpRecord(0x15, "\2\x50"));
  EXPECT_FALSE(start().newestMayDo);
  line = {};
  line.then = Line::Then::end;  // hangs up on the hello
  const TlsResult closed = start();
  EXPECT_EQ(closed.problem, TlsProblem::closed);
  EXPECT_TRUE(closed.newestMayDo);
  line = {};
  line.then = Line::Then::end;
  line.add(madeUpRecord(0x16, "first"));
  EXPECT_FALSE(start().newestMayDo);
  line = {};
  EXPECT_FALSE(start().newestMayDo);  // silence
}

TEST_F(TlsStreamTest, AHandshakeWithoutEndIsRefused) {
  const std::string many(60000, 'x');
  line.add("\x16");
  for (int i = 0; i < 100; ++i) line.add(many.substr(0, 16384));
  class Greedy : public MadeUpEngine {
   public:
    using MadeUpEngine::MadeUpEngine;
    State handshake() override { return State::wantsBytes; }
  };
  const TlsResult result =
      startTlsWith(std::make_unique<Greedy>(script), std::make_unique<LineStreamUnderTls>(line), 30000);
  EXPECT_EQ(result.problem, TlsProblem::refused);
  EXPECT_EQ(result.system, "handshake too long");
}

TEST_F(TlsStreamTest, AHandshakeThatRunsOutOfMemorySaysSo) {
  class Poor : public MadeUpEngine {
   public:
    using MadeUpEngine::MadeUpEngine;
    State handshake() override { throw std::bad_alloc(); }
  };
  EXPECT_EQ(
      startTlsWith(std::make_unique<Poor>(script), std::make_unique<LineStreamUnderTls>(line), 30000).problem,
      TlsProblem::outOfMemory);
}

TEST_F(TlsStreamTest, APeerThatTakesNothingIsATimeOutOfTheHandshake) {
  line.takes = 3;
  line.add(madeUpHandshake());
  EXPECT_EQ(start(30000).problem, TlsProblem::timedOut);
  EXPECT_EQ(sim::elapsedMilliseconds(), 30000);
}

TEST_F(TlsStreamTest, DataThatComeWithTheEndOfTheHandshakeAreNotLost) {
  line.add(madeUpHandshake() + madeUpData("+OK"));
  TlsResult result = start();
  ASSERT_TRUE(result.stream);
  EXPECT_EQ(readOnce(*result.stream), "+OK");
}

TEST_F(TlsStreamTest, BytesGoBothWaysTurned) {
  const auto stream = open();
  line.sent.clear();
  line.add(madeUpData("hello "));
  line.add(madeUpData("joe"));
  EXPECT_TRUE(stream->write("USER", 1000));
  EXPECT_EQ(line.sent, madeUpData("USER"));
  EXPECT_EQ(readOnce(*stream, 1000, 4), "hell");
  EXPECT_EQ(readOnce(*stream), "o ");
  EXPECT_EQ(readOnce(*stream), "joe");
}

TEST_F(TlsStreamTest, EveryCutOfTheStreamIsTheSameText) {
  const std::string bytes =
      madeUpData("one") + madeUpRecord(0x18, "") + madeUpData("") + madeUpData("two") + madeUpEnd();
  for (std::size_t size = 1; size <= bytes.size(); ++size) {
    line = {};
    line.addInPieces(bytes, size, 1);
    const auto stream = open();
    EXPECT_EQ(readAll(*stream), "onetwo(end)") << size;
  }
}

TEST_F(TlsStreamTest, ALineThatEndsWithoutSayingSoIsBrokenAtEveryByte) {
  const std::string bytes = madeUpData("one") + madeUpData("two") + madeUpEnd();
  for (std::size_t length = 0; length <= bytes.size(); ++length) {
    line = {};
    if (length > 0) line.add(bytes.substr(0, length));
    line.then = Line::Then::end;
    const auto stream = open();
    const std::string text = length < 8 ? "" : length < 16 ? "one" : "onetwo";
    EXPECT_EQ(readAll(*stream), text + (length == bytes.size() ? "(end)" : "(nothing)")) << length;
    EXPECT_EQ(readOnce(*stream), length == bytes.size() ? "(end)" : "(nothing)");
    EXPECT_FALSE(stream->write("x", 1000));
  }
  EXPECT_EQ(sim::elapsedMilliseconds(), 0);
}

TEST_F(TlsStreamTest, AnEmptyAlertIsAnEndOnlyWhereTheLineEndsBehindIt) {
  script.emptyAlertEnds = true;
  line.add(madeUpData("one") + madeUpRecord(0x15, ""));
  line.then = Line::Then::end;
  EXPECT_EQ(readAll(*open()), "one(end)");
  line = {};
  line.add(madeUpRecord(0x15, "") + madeUpData("one"));
  line.then = Line::Then::end;
  EXPECT_EQ(readAll(*open()), "one(nothing)");
  line = {};
  line.add(madeUpRecord(0x15, ""));
  line.add(madeUpData("one").substr(0, 3));
  line.then = Line::Then::end;
  EXPECT_EQ(readAll(*open()), "(nothing)");
}

TEST_F(TlsStreamTest, AnEndStaysAnEndAndTakesNothingMore) {
  const auto stream = open();
  line.add(madeUpEnd() + madeUpData("late"));
  EXPECT_EQ(readOnce(*stream), "(end)");
  EXPECT_EQ(readOnce(*stream), "(end)");
  line.sent.clear();
  EXPECT_FALSE(stream->write("x", 1000));
  EXPECT_EQ(line.sent, "");
}

TEST_F(TlsStreamTest, ARecordThatMakesNoSenseBreaksTheStreamForEver) {
  const auto stream = open();
  line.add(madeUpData("one") + madeUpRecord(0x20, "") + madeUpData("two"));
  EXPECT_EQ(readAll(*stream), "one(nothing)");
  EXPECT_EQ(readOnce(*stream), "(nothing)");
  EXPECT_FALSE(stream->write("x", 1000));
  EXPECT_EQ(sim::elapsedMilliseconds(), 0);
}

TEST_F(TlsStreamTest, ATimeOutOfAReadLeavesTheStreamUp) {
  const auto stream = open();
  line.add(madeUpData("late"), 1500);
  EXPECT_EQ(readOnce(*stream, 1000), "(nothing)");
  EXPECT_EQ(sim::elapsedMilliseconds(), 1000);
  EXPECT_TRUE(stream->write("NOOP", 1000));
  EXPECT_EQ(readOnce(*stream, 1000), "late");
  EXPECT_EQ(sim::elapsedMilliseconds(), 1500);
}

TEST_F(TlsStreamTest, APieceOfARecordStartsTheWaitAnew) {
  const auto stream = open();
  const std::string record = madeUpData("abc");  // eight bytes
  line.addInPieces(record, 1, 900);
  EXPECT_EQ(readOnce(*stream, 1000), "abc");
  EXPECT_EQ(sim::elapsedMilliseconds(), 7200);
}

TEST_F(TlsStreamTest, ARecordThatComesByDripsEndsAfterTenTimeOutsAndGoesOnAfterwards) {
  const auto stream = open();
  const std::string record = madeUpData("twelve bytes");  // 17 bytes
  line.addInPieces(record, 1, 900);
  EXPECT_EQ(readOnce(*stream, 1000), "(nothing)");
  EXPECT_EQ(sim::elapsedMilliseconds(), 10000);
  EXPECT_EQ(readOnce(*stream, 1000), "twelve bytes");
}

TEST_F(TlsStreamTest, RecordsWithoutTextDoNotKeepAReadForEver) {
  const auto stream = open();
  for (int i = 0; i < 100; ++i) line.add(madeUpData(""), 900);
  EXPECT_EQ(readOnce(*stream, 1000), "(nothing)");
  EXPECT_EQ(sim::elapsedMilliseconds(), 10000);
}

TEST_F(TlsStreamTest, AReadWithoutTimeLooksOnce) {
  const auto stream = open();
  EXPECT_EQ(readOnce(*stream, 0), "(nothing)");
  line.add(madeUpData("there"));
  EXPECT_EQ(readOnce(*stream, 0), "there");
  EXPECT_EQ(sim::elapsedMilliseconds(), 0);
}

TEST_F(TlsStreamTest, WhatAReadLeavesForThePeerIsSentAtOnce) {
  const auto stream = open();
  line.sent.clear();
  line.add(madeUpRecord(0x18, ""));
  EXPECT_EQ(readOnce(*stream), "(nothing)");
  EXPECT_EQ(line.sent, madeUpRecord(0x18, ""));
}

TEST_F(TlsStreamTest, WhatAReadCannotSendBreaksTheStreamBehindTheTextThatWasThere) {
  const auto stream = open();
  line.takes = line.sent.size() + 2;
  line.add(madeUpRecord(0x18, "") + madeUpData("text"));
  EXPECT_EQ(readOnce(*stream), "text");
  // Half of a record has gone out: nothing that the line does now mends that.
  line.takes = kNoLimit;
  line.add(madeUpData("more"));
  EXPECT_EQ(readOnce(*stream), "(nothing)");
  EXPECT_FALSE(stream->write("x", 1000));
}

TEST_F(TlsStreamTest, AWriteThatIsCutShortBreaksTheStreamAtEveryByte) {
  const std::string record = madeUpData("USER joe");
  for (std::size_t room = 0; room < record.size(); ++room) {
    line = {};
    const auto stream = open();
    line.takes = line.sent.size() + room;
    line.add(madeUpData("+OK"));
    const std::int64_t before = monotonicMilliseconds();
    EXPECT_FALSE(stream->write("USER joe", 1000)) << room;
    EXPECT_EQ(monotonicMilliseconds() - before, 1000);
    EXPECT_EQ(readOnce(*stream), "(nothing)") << room;
    EXPECT_FALSE(stream->write("x", 1000));
  }
}

TEST_F(TlsStreamTest, ALongWriteGoesOutRecordByRecord) {
  const auto stream = open();
  line.sent.clear();
  std::string text(1000000, 'x');
  for (std::size_t i = 0; i < text.size(); ++i) text[i] = static_cast<char>(i * 7 + i / 251);
  EXPECT_TRUE(stream->write(text, 1000));
  std::string came;
  for (std::size_t at = 0; at < line.sent.size();) {
    const std::size_t length = static_cast<std::size_t>(static_cast<unsigned char>(line.sent[at + 3]) << 8 |
                                                        static_cast<unsigned char>(line.sent[at + 4]));
    came += turned(line.sent.substr(at + 5, length));
    at += 5 + length;
  }
  EXPECT_TRUE(came == text);
}

TEST_F(TlsStreamTest, NothingToWriteIsWritten) {
  const auto stream = open();
  line.sent.clear();
  EXPECT_TRUE(stream->write("", 1000));
  EXPECT_EQ(line.sent, "");
}

TEST_F(TlsStreamTest, TheStreamSaysThatItEnds) {
  auto stream = open();
  line.sent.clear();
  stream.reset();
  EXPECT_EQ(line.sent, madeUpEnd());
  EXPECT_TRUE(line.gone);
}

TEST_F(TlsStreamTest, ItsEndWaitsForNobody) {
  auto stream = open();
  line.takes = line.sent.size();
  stream.reset();
  EXPECT_TRUE(line.gone);
  EXPECT_EQ(sim::elapsedMilliseconds(), 0);
}

TEST_F(TlsStreamTest, ABrokenStreamSaysNothingMore) {
  auto stream = open();
  line.then = Line::Then::end;
  EXPECT_EQ(readOnce(*stream), "(nothing)");
  line.sent.clear();
  stream.reset();
  EXPECT_EQ(line.sent, "");
}

}  // namespace
}  // namespace vornelle
