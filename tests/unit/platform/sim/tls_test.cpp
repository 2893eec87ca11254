#include "platform/tls.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/sim/sim.h"

namespace vornelle {
namespace {

struct Script {
  sim::TlsAnswer answer;
  bool stalled = false;
  std::string greeting;
  std::vector<std::string> heard;  // "secret: " or "plain: " before each
  std::vector<TlsPeer> peers;
};

class TlsServer : public sim::Server {
 public:
  explicit TlsServer(Script& script) : script_(script) {}
  void onConnect(std::string& out) override { out += script_.greeting; }
  void onData(std::string_view bytes, std::string& out) override {
    script_.heard.push_back((secured ? "secret: " : "plain: ") + std::string(bytes));
    if (bytes == "stall") stalled = true;
    if (bytes == "close" || bytes == "cut") closed = true;
    saysTlsEnds = bytes != "cut";
    out += "heard ";
  }
  sim::TlsAnswer onTls(const TlsPeer& peer, std::string& out) override {
    script_.peers.push_back(peer);
    out += "secret hello ";
    return script_.answer;
  }

 private:
  Script& script_;
};

class SimTlsTest : public testing::Test {
 protected:
  SimTlsTest() {
    sim::reset();
    sim::addServer("mail.example", 995, [this] { return std::make_unique<TlsServer>(script); });
  }
  TlsResult start(const std::string& before = "") {
    std::unique_ptr<NetStream> plain = openNetStream("mail.example", 995, 30000);
    if (!before.empty()) {
      EXPECT_TRUE(plain->write(before, 30000));
      EXPECT_EQ(readOnce(*plain), "heard .");
    }
    return startTls(std::move(plain), {"mail.example", accepted}, 30000);
  }
  static std::string readOnce(NetStream& stream) {
    std::string buffer(100, '\0');
    const std::optional<std::size_t> got = stream.read(buffer.data(), buffer.size(), 30000);
    return got ? buffer.substr(0, *got) + "." : "nothing";
  }
  Script script;
  std::string accepted;
};

TEST_F(SimTlsTest, TheServerSeesWhatCameBeforeTlsAndWhatOverIt) {
  const TlsResult result = start("STLS");
  ASSERT_TRUE(result.stream);
  EXPECT_EQ(result.problem, TlsProblem::none);
  EXPECT_EQ(result.protocol, "TLS 1.2");
  EXPECT_TRUE(result.stream->write("USER joe", 30000));
  EXPECT_EQ(readOnce(*result.stream), "secret hello heard .");
  EXPECT_THAT(script.heard, testing::ElementsAre("plain: STLS", "secret: USER joe"));
  ASSERT_EQ(script.peers.size(), 1u);
  EXPECT_EQ(script.peers[0].host, "mail.example");
}

TEST_F(SimTlsTest, AServerWithoutTlsSaysSo) {
  sim::addServer("mail.example", 995, [] {
    class Plain : public sim::Server {
      void onConnect(std::string& /*out*/) override {}
      void onData(std::string_view /*bytes*/, std::string& /*out*/) override {}
    };
    return std::make_unique<Plain>();
  });
  EXPECT_EQ(start().problem, TlsProblem::notTls);
}

TEST_F(SimTlsTest, BytesThatWaitUnreadAreNoTls) {
  script.greeting = "+OK injected";
  const TlsResult result = start();
  EXPECT_EQ(result.problem, TlsProblem::notTls);
  EXPECT_FALSE(result.stream);
  EXPECT_TRUE(script.peers.empty());
}

TEST_F(SimTlsTest, ARefusedCertificateIsToldWithItsNameAndFingerprint) {
  script.answer.problem = TlsProblem::selfSigned;
  const TlsResult result = start();
  EXPECT_FALSE(result.stream);
  EXPECT_EQ(result.problem, TlsProblem::selfSigned);
  EXPECT_EQ(result.certificateName, script.answer.certificateName);
  EXPECT_EQ(result.fingerprint, script.answer.fingerprint);
}

TEST_F(SimTlsTest, AnAcceptedFingerprintMakesUpForTheCertificateAndForNothingElse) {
  accepted = script.answer.fingerprint;
  script.answer.problem = TlsProblem::selfSigned;
  EXPECT_EQ(start().problem, TlsProblem::none);
  script.answer.problem = TlsProblem::version;
  EXPECT_EQ(start().problem, TlsProblem::version);
}

TEST_F(SimTlsTest, AHandshakeThatTakesLongerThanItsTimeEndsThere) {
  script.answer.takes = 31000;
  EXPECT_EQ(start().problem, TlsProblem::timedOut);
  EXPECT_EQ(sim::elapsedMilliseconds(), 30000);
  script.answer.takes = 200;
  EXPECT_EQ(start().problem, TlsProblem::none);
  EXPECT_EQ(sim::elapsedMilliseconds(), 30200);
}

TEST_F(SimTlsTest, ASecuredLineThatIsCutIsBrokenAndOneThatIsClosedEnds) {
  TlsResult closed = start();
  EXPECT_TRUE(closed.stream->write("close", 30000));
  EXPECT_EQ(readOnce(*closed.stream), "secret hello heard .");
  EXPECT_EQ(readOnce(*closed.stream), ".");
  TlsResult cut = start();
  EXPECT_TRUE(cut.stream->write("cut", 30000));
  EXPECT_EQ(readOnce(*cut.stream), "secret hello heard .");
  EXPECT_EQ(readOnce(*cut.stream), "nothing");
  EXPECT_EQ(sim::elapsedMilliseconds(), 0);
}

}  // namespace
}  // namespace vornelle
