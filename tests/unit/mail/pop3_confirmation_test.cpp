// The client makes sure that an answer is the one to its command, before anything is believed that a deletion
// could rest on. The servers here do not stuff dots, so that a line of a message can end it.
#include <algorithm>
#include <utility>

#include "mail/pop3_client.h"
#include "platform/net_stream.h"
#include "tests/unit/mail/given_connector.h"
#include "tests/unit/mail/pop3_client_fixture.h"

namespace vornelle {
namespace {

const std::string kHeader = "From: a@b\r\nSubject: s\r\n\r\n";

// Hands over one line a time: what the server has sent further on has not arrived yet.
class LineByLine : public NetStream {
 public:
  explicit LineByLine(std::shared_ptr<Pop3Mailbox> mailbox) : server_(std::move(mailbox)) {
    server_.onConnect(received_);
  }
  [[nodiscard]] std::optional<std::size_t> read(char* buffer, std::size_t size, int) override {
    if (received_.empty()) return server_.closed ? std::optional<std::size_t>(0) : std::nullopt;
    const std::size_t count = std::min(size, received_.find('\n') + 1);
    received_.copy(buffer, count);
    received_.erase(0, count);
    return count;
  }
  [[nodiscard]] bool write(std::string_view bytes, int) override {
    server_.onData(bytes, received_);
    return true;
  }

 private:
  ScriptedPop3 server_;
  std::string received_;
};

class Pop3ConfirmationTest : public Pop3ClientTest {
 protected:
  std::unique_ptr<Pop3Client> client;

  Pop3ConfirmationTest() { mailbox->stuffsDots = false; }

  void logOn() {
    client = std::make_unique<Pop3Client>(given([this] { return std::make_unique<LineByLine>(mailbox); }),
                                          "bob", "secret", 30'000);
    ASSERT_TRUE(client->logOn());
  }
  // What is gone once the session has ended.
  std::vector<std::string> quit() {
    client.reset();
    return mailbox->deleted;
  }
};

TEST_F(Pop3ConfirmationTest, TheRestOfAMessageIsNotTakenForTheAnswerToItsDeletion) {
  deliver("id-1", kHeader + "first half\r\n.\r\n+OK\r\n+OK\r\nsecond half\r\n");
  logOn();
  EXPECT_FALSE(client->fetchMessage("id-1"));
  EXPECT_FALSE(client->deleteMessage("id-1"));
  EXPECT_TRUE(quit().empty());
  EXPECT_EQ(0, mailbox->count("DELE"));
}

TEST_F(Pop3ConfirmationTest, TheRestOfAMessageIsNotTakenForTheNextMessage) {
  deliver("id-1", kHeader + "first half\r\n.\r\n+OK\r\nFrom: c@d\r\n\r\nnot a message\r\n");
  deliver("id-2", message(2));
  logOn();
  EXPECT_FALSE(client->fetchMessage("id-1"));
  const auto second = client->fetchMessage("id-2");
  ASSERT_TRUE(second);
  EXPECT_EQ(message(2), second->text);
}

TEST_F(Pop3ConfirmationTest, AMessageThatCannotBeHadWholeDoesNotKeepTheOthersFromBeingDeleted) {
  deliver("id-1", message(1));
  deliver("id-2", kHeader + "first half\r\n.\r\n-ERR\r\n.\r\n\r\nsecond half\r\n");
  deliver("id-3", message(3));
  logOn();
  for (const std::string id : {"id-1", "id-2", "id-3"}) {
    EXPECT_EQ(id != "id-2", client->fetchMessage(id).has_value());
    EXPECT_EQ(id != "id-2", client->deleteMessage(id));
  }
  EXPECT_EQ((std::vector<std::string>{"id-1", "id-3"}), quit());
}

TEST_F(Pop3ConfirmationTest, HeadersThatHaveComeOutOfStepAreNotBelieved) {
  // The first answer ends too early, and the rest of it would be the second message's header.
  deliverMany(2);
  mailbox->answers["TOP 1 1"] =
      "+OK\r\nFrom: a@b\r\nSubject: s\r\n\r\n.\r\n+OK\r\nFrom: c@d\r\nSubject: t\r\n\r\n.\r\n";
  logOn();
  EXPECT_FALSE(
      client->fetchHeaders([](std::size_t, const MaildropEntry&, std::string_view) { return true; }));
}

TEST_F(Pop3ConfirmationTest, AFetchedMessageIsDeletedWithoutAskingAgain) {
  deliver("id-1", message(1));
  logOn();
  ASSERT_TRUE(client->fetchMessage("id-1"));
  EXPECT_EQ(1, mailbox->count("UIDL 1"));
  EXPECT_TRUE(client->deleteMessage("id-1"));
  EXPECT_EQ(1, mailbox->count("UIDL 1"));
}

TEST_F(Pop3ConfirmationTest, WhereSomethingElseWasAskedMeanwhileAFetchedMessageIsConfirmedAnew) {
  deliverMany(2);
  mailbox->answers["RETR 2"] = "-ERR busy\r\n";
  logOn();
  ASSERT_TRUE(client->fetchMessage("id-1"));
  EXPECT_FALSE(client->fetchMessage("id-2"));
  mailbox->answers["UIDL 1"] = "+OK 1 id-2\r\n";
  EXPECT_FALSE(client->deleteMessage("id-1"));
  EXPECT_TRUE(quit().empty());
}

TEST_F(Pop3ConfirmationTest, ANumberThatHasBecomeAnotherMessageIsNotDeleted) {
  deliverMany(2);
  mailbox->answers["UIDL 1"] = "+OK 1 id-2\r\n";
  logOn();
  EXPECT_FALSE(client->deleteMessage("id-1"));
  EXPECT_TRUE(quit().empty());
  EXPECT_EQ(0, mailbox->count("DELE"));
}

TEST_F(Pop3ConfirmationTest, TheNumberAndTheIdMustBothBeRight) {
  deliverMany(2);
  for (const std::string answer :
       {"+OK 2 id-1", "+OK 1 id-11", "+OK 1 ID-1", "+OK id-1", "+OK", "+OK 1 id-1 2"}) {
    mailbox->answers["UIDL 1"] = answer + "\r\n";
    logOn();
    EXPECT_FALSE(client->deleteMessage("id-1")) << answer;
    EXPECT_TRUE(quit().empty());
  }
}

TEST_F(Pop3ConfirmationTest, BlanksInTheConfirmationDoNotMatter) {
  deliverMany(1);
  mailbox->answers["UIDL 1"] = "+OK  1 \t id-1 \r\n";
  logOn();
  EXPECT_TRUE(client->fetchMessage("id-1"));
  EXPECT_TRUE(client->deleteMessage("id-1"));
}

TEST_F(Pop3ConfirmationTest, AServerThatListsAllIdsOnlyIsAskedForAll) {
  deliverMany(3);
  mailbox->hasUidlOfOne = false;
  logOn();
  ASSERT_TRUE(client->fetchMessage("id-2"));
  EXPECT_TRUE(client->deleteMessage("id-2"));
  ASSERT_TRUE(client->fetchMessage("id-3"));
  EXPECT_TRUE(client->deleteMessage("id-3"));
  EXPECT_EQ(1, mailbox->count("UIDL 2") + mailbox->count("UIDL 3")) << "one refusal is enough to know";
  EXPECT_EQ((std::vector<std::string>{"id-2", "id-3"}), quit());
}

TEST_F(Pop3ConfirmationTest, AServerThatListsAllIdsWhateverIsAskedIsUnderstood) {
  deliver("id-1", kHeader + "first half\r\n.\r\n+OK\r\nsecond half\r\n");
  deliver("id-2", message(2));
  mailbox->answers["UIDL"] = "+OK\r\n1 id-1\r\n2 id-2\r\n.\r\n";
  logOn();
  EXPECT_FALSE(client->fetchMessage("id-1"));
  EXPECT_FALSE(client->deleteMessage("id-1"));
  EXPECT_TRUE(client->fetchMessage("id-2"));
  EXPECT_TRUE(client->deleteMessage("id-2"));
  EXPECT_EQ(std::vector<std::string>{"id-2"}, quit());
}

TEST_F(Pop3ConfirmationTest, AnIdThatIsNoLongerListedIsNotDeleted) {
  deliverMany(2);
  mailbox->hasUidlOfOne = false;
  logOn();
  ASSERT_TRUE(client->fetchUidls());
  mailbox->answers["UIDL"] = "+OK\r\n1 id-2\r\n2 id-1\r\n.\r\n";
  EXPECT_FALSE(client->deleteMessage("id-1"));
  EXPECT_TRUE(quit().empty());
}

TEST_F(Pop3ConfirmationTest, AMessageWithoutCrLfAtItsEndIsWholeWhenNothingElseComes) {
  // Such servers send the text as it is and the lone dot behind it.
  for (const std::string end : {"last line\n", "no line end"}) {
    mailbox->answers["RETR"] = "+OK\r\n" + kHeader + end + ".\r\n";
    mailbox->messages.clear();
    deliver("id-1", kHeader + end);
    logOn();
    const auto fetched = client->fetchMessage("id-1");
    ASSERT_TRUE(fetched) << end;
    EXPECT_EQ(kHeader + end, fetched->text);
    EXPECT_TRUE(client->deleteMessage("id-1"));
    client.reset();
  }
}

TEST_F(Pop3ConfirmationTest, AMessageThatPausesBehindADotIsNotWhole) {
  // Where the rest comes in during the question whether that was the end.
  deliver("id-1", kHeader + "A sentence.\r\nAnother one.\r\n");
  mailbox->answers["RETR"] = "+OK\r\n" + kHeader + "A sentence.\r\n";
  mailbox->answers["UIDL 1"] = "Another one.\r\n.\r\n+OK 1 id-1\r\n";
  logOn();
  EXPECT_FALSE(client->fetchMessage("id-1"));
  EXPECT_FALSE(client->deleteMessage("id-1"));
}

TEST_F(Pop3ConfirmationTest, ASilentServerIsAskedNothingMoreUnlessADotWasTheLastOfALine) {
  for (const std::string rest :
       {"", "half a line", "a line\r\n", "a line\r\n.", "a line\r\n.\r", "a line.\r\n."}) {
    mailbox->messages.clear();
    deliver("id-1", message(1));
    mailbox->answers["RETR"] = "+OK\r\n" + kHeader + rest;
    logOn();
    EXPECT_FALSE(client->fetchMessage("id-1")) << rest;
    EXPECT_EQ("RETR 1", mailbox->commands.back());
    EXPECT_FALSE(client->deleteMessage("id-1"));
  }
}

TEST_F(Pop3ConfirmationTest, AnEndlessAnswerInsteadOfTheConfirmationKillsTheSession) {
  deliverMany(1);
  mailbox->answers["UIDL 1"] = std::string(kLongestAnswerLine + 1, 'x');
  logOn();
  EXPECT_FALSE(client->fetchMessage("id-1"));
  EXPECT_FALSE(client->deleteMessage("id-1"));
  EXPECT_TRUE(quit().empty());
}

}  // namespace
}  // namespace vornelle
