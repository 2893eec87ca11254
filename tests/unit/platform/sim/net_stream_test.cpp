#include "platform/net_stream.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "platform/sim/sim.h"

namespace vornelle {
namespace {

// Greets, repeats what it hears, and does what "close", "stall" and "break" say.
class Echo : public sim::Server {
 public:
  void onConnect(std::string& out) override { out += "hello "; }
  void onData(std::string_view bytes, std::string& out) override {
    out += bytes;
    closed = bytes == "close";
    stalled = bytes == "stall";
    broken = bytes == "break";
  }
};

std::string readOnce(NetStream& stream, std::size_t size = 100) {
  std::string buffer(size, '\0');
  const std::optional<std::size_t> got = stream.read(buffer.data(), size, 30000);
  return got ? buffer.substr(0, *got) + "." : "nothing";
}

class SimNetStreamTest : public testing::Test {
 protected:
  SimNetStreamTest() {
    sim::reset();
    sim::addServer("mail.example", 110, [] { return std::make_unique<Echo>(); });
    stream = openNetStream("mail.example", 110, 30000);
  }
  std::unique_ptr<NetStream> stream;
};

TEST_F(SimNetStreamTest, TheServerAnswersAtOnce) {
  ASSERT_TRUE(stream);
  EXPECT_EQ(readOnce(*stream), "hello .");
  EXPECT_TRUE(stream->write("USER joe", 30000));
  EXPECT_EQ(readOnce(*stream, 5), "USER .");
  EXPECT_EQ(readOnce(*stream, 5), "joe.");
  EXPECT_EQ(sim::elapsedMilliseconds(), 0);
  EXPECT_EQ(sim::connectionsMade(), 1);
}

TEST_F(SimNetStreamTest, AWaitForNothingUsesUpItsTimeOut) {
  EXPECT_EQ(readOnce(*stream), "hello .");
  EXPECT_EQ(readOnce(*stream), "nothing");
  EXPECT_EQ(sim::elapsedMilliseconds(), 30000);
}

TEST_F(SimNetStreamTest, AStalledServerSendsWhatItHadAndThenNothing) {
  EXPECT_TRUE(stream->write("stall", 30000));
  EXPECT_TRUE(stream->write("more", 30000));
  EXPECT_EQ(readOnce(*stream), "hello stall.");
  EXPECT_EQ(readOnce(*stream), "nothing");
  EXPECT_EQ(sim::elapsedMilliseconds(), 30000);
}

TEST_F(SimNetStreamTest, AClosedServerEndsTheStreamAfterWhatItSent) {
  EXPECT_TRUE(stream->write("close", 30000));
  EXPECT_EQ(readOnce(*stream), "hello close.");
  EXPECT_EQ(readOnce(*stream), ".");
  EXPECT_EQ(sim::elapsedMilliseconds(), 0);
}

TEST_F(SimNetStreamTest, ABrokenServerFailsAtOnce) {
  EXPECT_TRUE(stream->write("break", 30000));
  EXPECT_EQ(readOnce(*stream), "nothing");
  EXPECT_FALSE(stream->write("x", 30000));
  EXPECT_EQ(sim::elapsedMilliseconds(), 0);
}

TEST_F(SimNetStreamTest, ANameIsKnownWhereSomethingServesAtAnyPortOfIt) {
  NetProblem problem = NetProblem::none;
  EXPECT_FALSE(openNetStream("mail.example", 25, 30000, &problem));
  EXPECT_EQ(problem, NetProblem::refused);
  EXPECT_FALSE(openNetStream("other.example", 110, 30000, &problem));
  EXPECT_EQ(problem, NetProblem::nameNotFound);
}

TEST_F(SimNetStreamTest, WhereNoServerIsThereIsNoStream) {
  EXPECT_FALSE(openNetStream("mail.example", 25, 30000));
  EXPECT_FALSE(openNetStream("other.example", 110, 30000));
  sim::addServer("mail.example", 25, [] { return std::unique_ptr<sim::Server>(); });
  EXPECT_FALSE(openNetStream("mail.example", 25, 30000));
  sim::removeServer("mail.example", 110);
  EXPECT_FALSE(openNetStream("mail.example", 110, 30000));
  EXPECT_EQ(sim::connectionsMade(), 1);
}

}  // namespace
}  // namespace vornelle
