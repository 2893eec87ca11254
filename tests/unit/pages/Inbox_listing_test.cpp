#include "pages/Inbox.h"

#include "mail/mail_component.h"
#include "tests/unit/pages/pages_test_support.h"

namespace vornelle {
namespace {

class InboxList : public PageTest {
 protected:
  Mailbox mailbox;
};

TEST_F(InboxList, TheMessagesAreListedInTheServersOrder) {
  mailbox.add("A1", "zoe@example.com", "First", 30);
  mailbox.add("B2", "\"Ann\" <ann@example.com>", "Second", 2000);
  serve(mailbox);
  ASSERT_TRUE(inboxList());
  ASSERT_EQ(inboxCount(), 2);
  EXPECT_EQ(inboxUidl(0), "A1");
  EXPECT_EQ(inboxFrom(0), "zoe@example.com");
  EXPECT_EQ(inboxDate(0), "11-15-2026 01:05PM");
  EXPECT_EQ(inboxSubject(0), "First");
  EXPECT_EQ(inboxSize(0), std::to_string(mailbox.mails[0].source.size()));
  EXPECT_EQ(inboxUidl(1), "B2");
  EXPECT_EQ(inboxFrom(1), "\"Ann\" <ann@example.com>");
  EXPECT_EQ(inboxSubject(1), "Second");
  EXPECT_EQ(inboxSize(1), std::to_string(mailbox.mails[1].source.size()));
}

TEST_F(InboxList, AnEmptyMailboxListsNothing) {
  serve(mailbox);
  EXPECT_TRUE(inboxList());
  EXPECT_EQ(inboxCount(), 0);
}

TEST_F(InboxList, ARefusedLogonBeepsAndKeepsTheOldListing) {
  mailbox.add("A1", "a@b.c", "Kept");
  serve(mailbox);
  ASSERT_TRUE(inboxList());
  mailbox.logOnRefused = true;
  EXPECT_FALSE(inboxList());
  EXPECT_EQ(sim::shell().beeps, 1);
  EXPECT_EQ(inboxCount(), 1);
  EXPECT_EQ(inboxSubject(0), "Kept");
}

TEST_F(InboxList, AConnectionLostInMidFetchFailsItWithoutABeep) {
  mailbox.add("A1", "a@b.c", "Kept");
  serve(mailbox);
  ASSERT_TRUE(inboxList());
  mailbox.cutAt = "LIST";
  EXPECT_FALSE(inboxList());
  EXPECT_EQ(sim::shell().beeps, 0);
  EXPECT_EQ(inboxCount(), 1);
  EXPECT_EQ(inboxSubject(0), "Kept");
}

TEST_F(InboxList, AShorterFetchLeavesNoTraceInTheCount) {
  for (int i = 0; i < 3; i++) mailbox.add("U" + std::to_string(i), "a@b.c", "s");
  serve(mailbox);
  ASSERT_TRUE(inboxList());
  mailbox.mails.resize(1);
  ASSERT_TRUE(inboxList());
  EXPECT_EQ(inboxCount(), 1);
}

TEST_F(InboxList, EventsAreServedWhileTheMessagesAreListed) {
  for (int i = 0; i < 3; i++) mailbox.add("U" + std::to_string(i), "a@b.c", "s");
  serve(mailbox);
  bool served = false;
  sim::after(0, [&] {
    served = true;
    EXPECT_EQ(inboxCount(), 3);
    EXPECT_EQ(inboxUidl(0), "");  // before the first message
  });
  ASSERT_TRUE(inboxList());
  EXPECT_TRUE(served);
}

TEST_F(InboxList, AFetchThatStartsInsideAnotherCompletesBoth) {
  for (int i = 0; i < 3; i++) mailbox.add("U" + std::to_string(i), "a@b.c", "s" + std::to_string(i));
  serve(mailbox);
  bool inner = false;
  sim::after(0, [&] { inner = inboxList(); });
  EXPECT_TRUE(inboxList());
  EXPECT_TRUE(inner);
  EXPECT_EQ(inboxCount(), 3);
  EXPECT_EQ(inboxSubject(2), "s2");
  EXPECT_EQ(mailbox.sessions, 2);
}

TEST_F(InboxList, TheComponentIsReleasedHoweverTheFetchEnds) {
  serve(mailbox);
  ASSERT_TRUE(inboxList());
  EXPECT_EQ(currentMail, nullptr);
  mailbox.cutAt = "LIST";
  ASSERT_FALSE(inboxList());
  EXPECT_EQ(currentMail, nullptr);
  mailbox.logOnRefused = true;
  ASSERT_FALSE(inboxList());
  EXPECT_EQ(currentMail, nullptr);
}

TEST_F(InboxList, ExactlyTenThousandAndOneMessagesFit) {
  for (int i = 0; i < 10001; i++) mailbox.add("U" + std::to_string(i), "a@b.c", "s");
  serve(mailbox);
  EXPECT_TRUE(inboxList());
  EXPECT_EQ(inboxCount(), 10001);
  EXPECT_EQ(inboxUidl(10000), "U10000");
}

TEST_F(InboxList, MoreThanTenThousandAndOneMessagesFailEveryFetch) {
  for (int i = 0; i < 10002; i++) mailbox.add("U" + std::to_string(i), "a@b.c", "s");
  serve(mailbox);
  EXPECT_FALSE(inboxList());
  EXPECT_EQ(inboxUidl(10000), "U10000");  // the messages read so far stay
  EXPECT_FALSE(inboxList());
}

TEST_F(InboxList, AnIndexOutsideTheRoomIsNoMessage) {
  for (const std::int16_t index : {std::int16_t{-1}, std::int16_t{10001}}) {
    EXPECT_EQ(inboxUidl(index), std::nullopt);
    EXPECT_EQ(inboxFrom(index), std::nullopt);
    EXPECT_EQ(inboxDate(index), std::nullopt);
    EXPECT_EQ(inboxSubject(index), std::nullopt);
    EXPECT_EQ(inboxSize(index), std::nullopt);
  }
  EXPECT_EQ(inboxUidl(10000), "");
}

}  // namespace
}  // namespace vornelle
