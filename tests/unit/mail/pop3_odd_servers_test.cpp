#include "mail/pop3_client.h"

#include "tests/unit/mail/pop3_client_fixture.h"

namespace vornelle {
namespace {

// ---- odd lists ----

TEST_F(Pop3ClientTest, ALyingSizeIsTakenAsItIsAndANegativeOneAsZero) {
  for (const std::string size :
       {"99999999999999999999", "5000000000", "157201", "-5", "-99999999999999999999", "many", ""}) {
    mailbox->messages.push_back({"id-" + std::to_string(mailbox->messages.size()), message(1), size});
  }
  const auto headers = list();
  ASSERT_TRUE(headers);
  const std::int32_t expected[] = {2147483647, 2147483647, 157201, 0, 0, 0, 0};
  ASSERT_EQ(7, headers->getCount());
  for (int i = 0; i < 7; ++i) EXPECT_EQ(expected[i], headers->getItem(i)->getSize()) << i;
}

TEST_F(Pop3ClientTest, TheSizeOfAFetchedMessageIsTheOneOfTheList) {
  mailbox->messages.push_back({"id-1", message(1), "4711"});
  ASSERT_TRUE(mail->popConnect());
  const auto fetched = mail->popGetMessage("id-1");
  ASSERT_TRUE(fetched);
  EXPECT_EQ(4711, fetched->getSize());
}

TEST_F(Pop3ClientTest, UniqueIdsMayBeOdd) {
  const std::string longId(300, 'u');
  const std::string odd = "a b\x01\xFC<>";
  deliver(longId, message(1));
  deliver("  blanks-before", message(2));
  deliver(odd, message(3));
  const auto headers = list();
  ASSERT_TRUE(headers);
  EXPECT_EQ(longId, headers->getItem(0)->getUidl());
  EXPECT_EQ("blanks-before", headers->getItem(1)->getUidl());
  EXPECT_EQ(odd, headers->getItem(2)->getUidl());
  EXPECT_TRUE(mail->popGetMessage(odd));
  EXPECT_TRUE(mail->popDeleteMessage("blanks-before"));
}

TEST_F(Pop3ClientTest, AMessageWithAnEmptyIdIsKept) {
  deliver("", message(1));
  deliver("id-2", message(2));
  const auto headers = list();
  ASSERT_TRUE(headers);
  EXPECT_EQ("", headers->getItem(0)->getUidl());
  EXPECT_FALSE(mail->popGetMessage(""));
  EXPECT_FALSE(mail->popDeleteMessage(""));
  const auto uidls = mail->popGetUidls();
  ASSERT_TRUE(uidls);
  ASSERT_EQ(1, uidls->getCount());
  EXPECT_EQ("id-2", *uidls->getItem(0));
}

TEST_F(Pop3ClientTest, OfMessagesWithTheSameIdTheLastIsFetchedAndNoneIsDeleted) {
  deliver("same", message(1));
  deliver("same", message(2));
  deliver("other", message(3));
  const auto headers = list();
  ASSERT_TRUE(headers);
  EXPECT_EQ("same", headers->getItem(0)->getUidl());
  EXPECT_EQ("same", headers->getItem(1)->getUidl());
  const auto fetched = mail->popGetMessage("same");
  ASSERT_TRUE(fetched);
  EXPECT_EQ("Subject 2", fetched->getSubject());
  EXPECT_FALSE(mail->popDeleteMessage("same"));
  EXPECT_TRUE(mail->popDeleteMessage("other"));
  mail.reset();
  EXPECT_EQ(std::vector<std::string>{"other"}, mailbox->deleted);
}

TEST_F(Pop3ClientTest, AnIdThatAMessageOutsideTheListHasTooDeletesNothing) {
  deliver("id-1", message(1));
  mailbox->answers["UIDL"] = "+OK\r\n1 id-1\r\n2 id-1\r\n.\r\n";
  ASSERT_TRUE(mail->popConnect());
  EXPECT_FALSE(mail->popDeleteMessage("id-1"));
}

TEST_F(Pop3ClientTest, AMessageWithTwoIdsHasNone) {
  deliver("id-1", message(1));
  mailbox->answers["UIDL"] = "+OK\r\n1 id-1\r\n1 id-2\r\n.\r\n";
  const auto headers = list();
  ASSERT_TRUE(headers);
  EXPECT_EQ("", headers->getItem(0)->getUidl());
  EXPECT_FALSE(mail->popDeleteMessage("id-1"));
  EXPECT_FALSE(mail->popDeleteMessage("id-2"));
}

TEST_F(Pop3ClientTest, AMessageThatArrivesBetweenListAndUidlIsNotTouched) {
  deliverMany(2);
  mailbox->answers["UIDL"] = "+OK\r\n1 id-1\r\n2 id-2\r\n3 new\r\n.\r\n";
  mailbox->answers["UIDL 2"] = "+OK 2 id-2\r\n";
  expectWholeList(2);
  EXPECT_FALSE(mail->popGetMessage("new"));
  EXPECT_FALSE(mail->popDeleteMessage("new"));
}

TEST_F(Pop3ClientTest, LinesThatMakeNoSenseArePassedOver) {
  deliverMany(2);
  mailbox->answers["LIST"] =
      "+OK\r\n\r\nfoo\r\n-1 5\r\n0 5\r\n1 10\r\n1 20\r\n2x 5\r\n99999999999 5\r\n 2  30\r\n.\r\n";
  mailbox->answers["UIDL"] = "+OK\r\nfoo\r\n1\r\n7 seven\r\n1 id-1\r\n2\tid-2\r\n.\r\n";
  mailbox->answers["UIDL 2"] = "+OK 2 id-2\r\n";
  const auto headers = list();
  ASSERT_TRUE(headers);
  ASSERT_EQ(2, headers->getCount());
  EXPECT_EQ(10, headers->getItem(0)->getSize());
  EXPECT_EQ(30, headers->getItem(1)->getSize());
  EXPECT_EQ("id-1", headers->getItem(0)->getUidl());
  EXPECT_EQ("id-2", headers->getItem(1)->getUidl());
}

TEST_F(Pop3ClientTest, AMessageIsFoundInAnotherLetterCaseForReadingOnly) {
  deliver("Id-A", message(1));
  deliver("id-b", message(2));
  deliver("ID-B", message(3));
  ASSERT_TRUE(mail->popConnect());
  EXPECT_EQ("Id-A", mail->popGetMessage("ID-A")->getUidl());
  EXPECT_FALSE(mail->popDeleteMessage("ID-A"));
  EXPECT_EQ("Subject 2", mail->popGetMessage("id-b")->getSubject());
  EXPECT_FALSE(mail->popGetMessage("Id-b")) << "either could be meant";
  EXPECT_TRUE(mail->popDeleteMessage("Id-A"));
}

// ---- odd messages ----

TEST_F(Pop3ClientTest, TopMayAnswerMoreThanWasAskedFor) {
  deliverMany(1);
  mailbox->answers["TOP"] = "+OK\r\n" + message(1) + "more\r\nFrom: not@this.one\r\n.\r\n";
  expectWholeList(1);
}

TEST_F(Pop3ClientTest, ATopThatIsCutBeforeTheSenderIsReadAgainWithRetr) {
  deliverMany(3);
  mailbox->answers["TOP 1 1"] = "+OK\r\nReceived: from x\r\n.\r\n";
  mailbox->answers["TOP 3 1"] = "+OK\r\n.\r\n";
  expectWholeList(3);
  EXPECT_EQ(2, mailbox->count("RETR"));
}

TEST_F(Pop3ClientTest, ATopThatIsCutBeforeTheSubjectIsReadAgainWithRetr) {
  deliverMany(3);
  mailbox->answers["TOP 2 1"] = "+OK\r\nFrom: sender2@x.example\r\n.\r\n";
  expectWholeList(3);
  EXPECT_EQ(1, mailbox->count("RETR"));
}

TEST_F(Pop3ClientTest, AHeaderWithoutTheEmptyLineBehindItIsRead) {
  deliver("id-1", "From: a@b\r\nSubject: Subject 1\r\n");
  expectWholeList(1);
  EXPECT_EQ(0, mailbox->count("RETR"));
}

TEST_F(Pop3ClientTest, LongLinesAreNoProblem) {
  const std::string text =
      "From: a@b\r\n\r\n" + std::string(100'000, 'x') + "\r\n" + std::string(300'000, '.') + "\r\n";
  deliver("id-1", text);
  ASSERT_TRUE(mail->popConnect());
  const auto fetched = mail->popGetMessage("id-1");
  ASSERT_TRUE(fetched);
  EXPECT_EQ(text, fetched->getRawText());
}

TEST_F(Pop3ClientTest, ADotThatTheServerDidNotStuffStays) {
  const std::string text = "From: a@b\r\n\r\n.hidden\r\n.\rx\r\n. \r\na.\r\n";
  deliver("id-1", text);
  mailbox->stuffsDots = false;
  ASSERT_TRUE(mail->popConnect());
  const auto fetched = mail->popGetMessage("id-1");
  ASSERT_TRUE(fetched);
  EXPECT_EQ(text, fetched->getRawText());
}

TEST_F(Pop3ClientTest, ALoneLineFeedBeforeADotEndsNoMessage) {
  const std::string text = "From: a@b\n\nx\n.\ny\n.\r\nz\r\n";
  deliver("id-1", text);
  ASSERT_TRUE(mail->popConnect());
  const auto fetched = mail->popGetMessage("id-1");
  ASSERT_TRUE(fetched);
  EXPECT_EQ(text, fetched->getRawText());
}

TEST_F(Pop3ClientTest, AServerThatEndsItsLinesWithLineFeedsIsUnderstood) {
  mailbox->answers = {{"GREETING", "+OK\n"},
                      {"USER", "+OK\n"},
                      {"PASS", "+OK\n"},
                      {"LIST", "+OK\n1 30\n.\n"},
                      {"UIDL", "+OK\n1 id-1\n.\n"},
                      {"UIDL 1", "+OK 1 id-1\n"},
                      {"TOP", "+OK\nFrom: a@b\nSubject: Subject 1\n\nx\n.\n"},
                      {"RETR", "+OK\nFrom: a@b\n\n..x\n.y\n.\n"},
                      {"DELE", "+OK\n"}};
  deliverMany(1);
  expectWholeList(1);
  const auto fetched = mail->popGetMessage("id-1");
  ASSERT_TRUE(fetched);
  EXPECT_EQ("From: a@b\n\n.x\n.y\n", fetched->getRawText());
  EXPECT_TRUE(mail->popDeleteMessage("id-1"));
}

}  // namespace
}  // namespace vornelle
