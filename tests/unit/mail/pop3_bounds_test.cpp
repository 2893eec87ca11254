#include "mail/pop3_client.h"

#include "platform/modGoToSleep.h"
#include "platform/net_stream.h"
#include "tests/unit/mail/given_connector.h"
#include "tests/unit/mail/pop3_client_fixture.h"

namespace vornelle {
namespace {

// ---- bounds ----

TEST_F(Pop3ClientTest, AStatusLineOfMoreThan64KiBKillsTheSession) {
  deliverMany(1);
  mailbox->answers["LIST"] = "+OK " + std::string(kLongestAnswerLine, 'x') + "\r\n.\r\n";
  EXPECT_FALSE(list());
  expectDeadSession();
}

TEST_F(Pop3ClientTest, AStatusLineOf64KiBIsRead) {
  deliverMany(1);
  const std::string start = "+OK ";
  mailbox->answers["DELE"] = start + std::string(kLongestAnswerLine - start.size() - 1, 'x') + "\r\n";
  ASSERT_TRUE(mail->popConnect());
  EXPECT_TRUE(mail->popDeleteMessage("id-1"));
}

TEST_F(Pop3ClientTest, AnEndlessLineOfTheListKillsTheSession) {
  deliverMany(1);
  mailbox->answers["UIDL"] = "+OK\r\n1 " + std::string(kLongestAnswerLine, 'u') + "\r\n.\r\n";
  EXPECT_FALSE(list());
  expectDeadSession();
}

TEST_F(Pop3ClientTest, AListOfMoreThanAMillionLinesKillsTheSession) {
  std::string answer = "+OK\r\n";
  for (std::size_t i = 0; i <= kMostMessages; ++i) answer += "?\r\n";
  mailbox->answers["LIST"] = answer + ".\r\n";
  EXPECT_FALSE(list());
  expectDeadSession();
}

TEST_F(Pop3ClientTest, OfAHeaderTheFirstMebibyteIsReadAndTheRestDropped) {
  deliver("id-1", "From: a@b\r\nX-Long: " + std::string(2U << 20, 'x') + "\r\nSubject: too late\r\n\r\n");
  deliver("id-2", message(2));
  const auto headers = list();
  ASSERT_TRUE(headers);
  EXPECT_EQ("a@b", headers->getItem(0)->getFromAddress());
  EXPECT_EQ("", headers->getItem(0)->getSubject());
  EXPECT_EQ("Subject 2", headers->getItem(1)->getSubject());
}

TEST_F(Pop3ClientTest, AnAnswerThatTricklesInIsGivenUpAfterTheTimeOut) {
  // A byte every 20 seconds, and no end.
  class Trickle : public NetStream {
   public:
    [[nodiscard]] std::optional<std::size_t> read(char* buffer, std::size_t, int timeout) override {
      pause(std::min(timeout, 20'000));
      if (timeout < 20'000) return std::nullopt;
      *buffer = '+';
      return 1;
    }
    [[nodiscard]] bool write(std::string_view, int) override { return true; }
  };
  Pop3Client client(given([] { return std::make_unique<Trickle>(); }), "bob", "secret", 30'000);
  EXPECT_FALSE(client.logOn());
  EXPECT_EQ(30'000, sim::elapsedMilliseconds());
}

TEST_F(Pop3ClientTest, AMessageThatTricklesInForLongIsGivenUp) {
  // Every 20 seconds a byte of a message without end; no single wait is too long.
  class Trickle : public NetStream {
   public:
    [[nodiscard]] std::optional<std::size_t> read(char* buffer, std::size_t size, int) override {
      if (!answer_.empty()) {
        const std::size_t count = std::min(size, answer_.size());
        answer_.copy(buffer, count);
        answer_.erase(0, count);
        return count;
      }
      pause(20'000);
      *buffer = 'x';
      return 1;
    }
    [[nodiscard]] bool write(std::string_view command, int) override {
      answer_ += command.starts_with("LIST")   ? "+OK\r\n1 10\r\n.\r\n"
                 : command.starts_with("UIDL") ? "+OK\r\n1 id-1\r\n.\r\n"
                                               : "+OK\r\n";
      return true;
    }

   private:
    std::string answer_ = "+OK\r\n";
  };
  Pop3Client client(given([] { return std::make_unique<Trickle>(); }), "bob", "secret", 30'000);
  ASSERT_TRUE(client.logOn());
  EXPECT_FALSE(client.fetchMessage("id-1"));
  EXPECT_GT(sim::elapsedMilliseconds(), 300'000);
  EXPECT_LE(sim::elapsedMilliseconds(), 320'000);
  EXPECT_FALSE(client.deleteMessage("id-1"));
}

}  // namespace
}  // namespace vornelle
