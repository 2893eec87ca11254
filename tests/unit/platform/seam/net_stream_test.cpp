#include "platform/net_stream.h"
#include "platform/meanwhile.h"
#include "platform/modGoToSleep.h"
#include "platform/socket.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <string>
#include <utility>

#include "platform/common/blocking.h"
#include "tests/unit/platform/seam/script_server.h"

namespace vornelle {
namespace {

std::string readOnce(NetStream& stream, int timeout = 5000) {
  char buffer[100];
  const std::optional<std::size_t> got = stream.read(buffer, sizeof buffer, timeout);
  if (!got) return "(nothing)";
  return *got == 0 ? "(end)" : std::string(buffer, *got);
}

// Fills the buffer, up to the end of the stream; what has come.
std::size_t readMost(native::Socket connection, std::string& buffer) {
  std::size_t total = 0;
  while (total < buffer.size()) {
    const long got = native::receive(connection, buffer.data() + total, buffer.size() - total);
    if (got <= 0) break;
    total += static_cast<std::size_t>(got);
  }
  return total;
}

TEST(NetStreamTest, LinesGoBothWaysAndTheEndIsSeen) {
  ScriptServer server([](native::Socket connection) {
    sendAll(connection, "+OK\r\n");
    sendAll(connection, "you said: " + readUntil(connection, "\r\n"));
  });
  const auto stream = openNetStream("localhost", server.port, 5000);
  ASSERT_TRUE(stream);
  EXPECT_EQ(readOnce(*stream), "+OK\r\n");
  EXPECT_TRUE(stream->write("USER joe\r\n", 5000));
  EXPECT_EQ(readOnce(*stream), "you said: USER joe\r\n");
  EXPECT_EQ(readOnce(*stream), "(end)");
}

TEST(NetStreamTest, AnAddressWillDoForAHost) {
  ScriptServer server([](native::Socket connection) { sendAll(connection, "hello"); });
  const auto stream = openNetStream("127.0.0.1", server.port, 5000);
  ASSERT_TRUE(stream);
  EXPECT_EQ(readOnce(*stream), "hello");
}

TEST(NetStreamTest, AReadBringsNoMoreThanAskedFor) {
  ScriptServer server([](native::Socket connection) { sendAll(connection, "abcdef"); });
  const auto stream = openNetStream("127.0.0.1", server.port, 5000);
  ASSERT_TRUE(stream);
  char buffer[4];
  std::string all;
  while (true) {
    const std::optional<std::size_t> got = stream->read(buffer, sizeof buffer, 5000);
    ASSERT_TRUE(got);
    ASSERT_LE(*got, sizeof buffer);
    if (*got == 0) break;
    all.append(buffer, *got);
  }
  EXPECT_EQ(all, "abcdef");
}

TEST(NetStreamTest, ASilentServerIsATimeOut) {
  ScriptServer server(waitForEnd);
  const auto stream = openNetStream("127.0.0.1", server.port, 5000);
  ASSERT_TRUE(stream);
  const std::int64_t start = monotonicMilliseconds();
  EXPECT_EQ(readOnce(*stream, 100), "(nothing)");
  EXPECT_GE(monotonicMilliseconds() - start, 100);
  EXPECT_LT(monotonicMilliseconds() - start, 3000);
}

TEST(NetStreamTest, AServerThatTakesNothingIsATimeOutOfTheWrite) {
  std::atomic<bool> over = false;
  ScriptServer server([&](native::Socket) {
    while (!over) std::this_thread::sleep_for(std::chrono::milliseconds(5));
  });
  const auto stream = openNetStream("127.0.0.1", server.port, 5000);
  EXPECT_TRUE(stream);
  EXPECT_FALSE(stream && stream->write(std::string(64 * 1024 * 1024, 'x'), 100));
  over = true;
}

TEST(NetStreamTest, AServerThatTakesBytesSlowlyIsNoTimeOutOfTheWrite) {
  ScriptServer server([](native::Socket connection) {
    std::string buffer(5 * 1024 * 1024, '\0');
    for (std::size_t got = 1; got > 0;) {
      std::this_thread::sleep_for(std::chrono::milliseconds(150));
      got = readMost(connection, buffer);
    }
  });
  const auto stream = openNetStream("127.0.0.1", server.port, 5000);
  ASSERT_TRUE(stream);
  const std::int64_t start = monotonicMilliseconds();
  EXPECT_TRUE(stream->write(std::string(40 * 1024 * 1024, 'x'), 500));
  EXPECT_GT(monotonicMilliseconds() - start, 500)
      << "slower than the time-out, which counts from the last progress";
}

TEST(NetStreamTest, ALargeWriteArrivesWhole) {
  constexpr std::size_t kSize = 20 * 1024 * 1024;
  ScriptServer server([](native::Socket connection) {
    std::size_t total = 0;
    std::string buffer(65536, '\0');
    while (total < kSize) {
      const long got = native::receive(connection, buffer.data(), buffer.size());
      if (got <= 0) return;
      total += static_cast<std::size_t>(got);
    }
    sendAll(connection, "all there");
  });
  const auto stream = openNetStream("127.0.0.1", server.port, 5000);
  ASSERT_TRUE(stream);
  EXPECT_TRUE(stream->write(std::string(kSize, 'x'), 5000));
  EXPECT_EQ(readOnce(*stream), "all there");
}

TEST(NetStreamTest, AServerThatHasGoneBringsNothingAndTakesNothing) {
  ScriptServer server([](native::Socket connection) {
    (void)readUntil(connection, "\n");  // not before the stream stands
    resetAtClose(connection);
  });
  const auto stream = openNetStream("127.0.0.1", server.port, 5000);
  ASSERT_TRUE(stream);
  ASSERT_TRUE(stream->write("NOOP\r\n", 5000));
  const std::string read = readOnce(*stream);
  EXPECT_TRUE(read == "(nothing)" || (read == "(end)" && native::kResetMayLookLikeAnEnd)) << read;
  EXPECT_FALSE(stream->write("QUIT\r\n", 5000) && stream->write("QUIT\r\n", 5000));
}

TEST(NetStreamTest, NobodyThereIsNoStream) {
  EXPECT_FALSE(openNetStream("127.0.0.1", freePort(), 5000));
  EXPECT_FALSE(openNetStream(nameOfNobody(), 110, 5000));
  EXPECT_FALSE(openNetStream("", 110, 5000));
  EXPECT_FALSE(openNetStream("127.0.0.1", 0, 5000));
  EXPECT_FALSE(openNetStream("127.0.0.1", 65536, 5000));
  EXPECT_FALSE(openNetStream(std::string("localhost\0x", 11), 110, 5000));
}

TEST(NetStreamTest, TheProgramIsToldBeforeAServerBlocksItAndNotForAnAnswerThatIsThere) {
  ScriptServer server([](native::Socket connection) {
    sendAll(connection, "hello");
    readUntil(connection, "nothing");
  });
  const auto stream = openNetStream("localhost", server.port, 5000);
  ASSERT_TRUE(stream);
  int told = 0;
  char buffer[5];
  std::size_t got = 0;
  while (got < 5) got += stream->read(buffer, 5 - got, 5000).value_or(5);
  setBeforeBlocking([&told] { ++told; });
  EXPECT_EQ(stream->read(buffer, 5, 10), std::nullopt);
  EXPECT_EQ(told, 0);
  EXPECT_EQ(stream->read(buffer, 5, 200), std::nullopt);
  EXPECT_EQ(told, 1);
  pause(1);
  EXPECT_EQ(told, 2);
  pause(0);
  EXPECT_EQ(told, 2);
  setBeforeBlocking(nullptr);
}

// Two listeners and a timer, of which one listener is served in the middle of a wait for a server.
class InAWait : public testing::Test {
 protected:
  InAWait() {
    EXPECT_TRUE(served_.listen(LoopbackAddress::ipv4, freePort()));
    EXPECT_TRUE(other_.listen(LoopbackAddress::ipv4, freePort()));
    served_.serveMeanwhile();
    served_.onConnectionRequest = [this](SocketControl::RequestId) {
      ++servedCount_;
      EXPECT_TRUE(waitingForServer());
      doEvents();
    };
    other_.onConnectionRequest = [this](SocketControl::RequestId) { ++otherCount_; };
    timer_.onTick = [this] { ++ticks_; };
    setMeanwhile([this] { ++looks_; });
    doEvents();
    ticks_ = 0;
    EXPECT_TRUE(one_.connect(served_.localPort()) && two_.connect(other_.localPort()));
  }
  ~InAWait() override { setMeanwhile(nullptr); }
  InAWait(const InAWait&) = delete;
  InAWait& operator=(const InAWait&) = delete;

  void expectThatOneAloneWasServed() {
    EXPECT_EQ(servedCount_, 1);
    EXPECT_EQ(otherCount_, 0);
    EXPECT_EQ(ticks_, 0);
    EXPECT_GT(looks_, 0);
    EXPECT_FALSE(waitingForServer());
    EXPECT_TRUE(eventually([this] { return otherCount_ == 1 && ticks_ > 0; }));
  }

  SocketControl served_, other_;
  Timer timer_{1, true};
  Peer one_, two_;
  int servedCount_ = 0, otherCount_ = 0, ticks_ = 0, looks_ = 0;
};

TEST_F(InAWait, SocketsThatSaySoAreServedAndNothingElseIs) {
  ScriptServer server([](native::Socket connection) { readUntil(connection, "nothing"); });
  const auto stream = openNetStream("127.0.0.1", server.port, 5000);
  ASSERT_TRUE(stream);
  EXPECT_EQ(readOnce(*stream, 200), "(nothing)");
  expectThatOneAloneWasServed();
}

TEST_F(InAWait, SoTheyAreWhereTheServerNeverLetsTheProgramWait) {
  ScriptServer server([](native::Socket connection) {
    sendAll(connection, "much");
    readUntil(connection, "nothing");
  });
  const auto stream = openNetStream("127.0.0.1", server.port, 5000);
  ASSERT_TRUE(stream);
  char byte;
  for (int i = 0; i < 4; ++i) {
    EXPECT_EQ(stream->read(&byte, 1, 5000), 1u);
    pause(2 * static_cast<int>(kMeanwhileInterval));
  }
  expectThatOneAloneWasServed();
}

TEST_F(InAWait, WhatCameWhileTheyWereServedHasComeInTime) {
  ScriptServer server([](native::Socket connection) {
    readUntil(connection, "now");
    sendAll(connection, "late");
    readUntil(connection, "nothing");
  });
  const auto stream = openNetStream("127.0.0.1", server.port, 5000);
  ASSERT_TRUE(stream);
  bool asked = false;
  setMeanwhile([&] {
    if (std::exchange(asked, true)) return;
    EXPECT_TRUE(stream->write("now", 5000));
    pause(300);
  });
  EXPECT_EQ(readOnce(*stream, 100), "late");
}

TEST_F(InAWait, AWaitThatTheSystemRefusesEndsAtOnceAndIsNoTimeOut) {
  int asked = 0;
  const auto refused = [&asked](std::int64_t) {
    ++asked;
    return Waited::failed;
  };
  EXPECT_EQ(waitTold(60'000, refused), Waited::failed);
  EXPECT_EQ(asked, 1);
  EXPECT_EQ(waitTold(0, [](std::int64_t) { return Waited::timeOver; }), Waited::timeOver);
  EXPECT_EQ(waitTold(0, [](std::int64_t) { return Waited::come; }), Waited::come);
}

// The look-ups go on by themselves; what they write to must still be there.
TEST(NetStreamTest, LookUpsThatAreNotWaitedForHurtNobody) {
  ScriptServer server([](native::Socket connection) { readUntil(connection, "nothing"); });
  const std::int64_t start = monotonicMilliseconds();
  for (int i = 0; i < 10; ++i) static_cast<void>(openNetStream(nameOfNobody(), 110, 0));
  EXPECT_LT(monotonicMilliseconds() - start, 3000);
  EXPECT_TRUE(openNetStream("localhost", server.port, 20000));
}

TEST(NetStreamTest, WhyThereIsNoStreamIsTold) {
  NetProblem problem = NetProblem::none;
  EXPECT_FALSE(openNetStream("127.0.0.1", freePort(), 5000, &problem));
  EXPECT_EQ(problem, NetProblem::refused);
  EXPECT_FALSE(openNetStream("localhost", freePort(), 5000, &problem));
  EXPECT_EQ(problem, NetProblem::refused);
  EXPECT_FALSE(openNetStream(nameOfNobody(), 110, 5000, &problem));
  EXPECT_EQ(problem, NetProblem::nameNotFound);
  EXPECT_FALSE(openNetStream("", 110, 5000, &problem));
  EXPECT_EQ(problem, NetProblem::nameNotFound);
}

}  // namespace
}  // namespace vornelle
