#include "pages/Spambox.h"

#include "mail/mail_component.h"
#include "tests/unit/pages/spambox_test_support.h"

namespace vornelle {
namespace {

using SpamBoxList = SpamBoxTest;

TEST_F(SpamBoxList, TheMostRecentlySavedMessageComesFirst) {
  save("old", "a@b.c", "Old", 1);
  save("new", "a@b.c", "New", 3);
  save("mid", "a@b.c", "Mid", 2);
  ASSERT_TRUE(spamboxList());
  ASSERT_EQ(spamboxCount(), 3);
  EXPECT_EQ(spamboxKey(0), "new");
  EXPECT_EQ(spamboxKey(1), "mid");
  EXPECT_EQ(spamboxKey(2), "old");
}

TEST_F(SpamBoxList, EachMessageIsParsed) {
  save("A1", "\"Bob\" <bob@example.com>", "Hello", 1);
  ASSERT_TRUE(spamboxList());
  EXPECT_EQ(spamboxFrom(0), "\"Bob\" <bob@example.com>");
  EXPECT_EQ(spamboxDate(0), "11-15-2026 01:05PM");
  EXPECT_EQ(spamboxSubject(0), "Hello");
  EXPECT_EQ(spamboxSize(0), std::to_string(contentOf("\\spam\\A1.txt").size()));
}

TEST_F(SpamBoxList, TheKeyEndsAtTheFirstEndingInAnyLetterCase) {
  save("A.TXT.b", "a@b.c", "cut", 1);
  ASSERT_TRUE(spamboxList());
  EXPECT_EQ(spamboxKey(0), "A");
  EXPECT_EQ(spamboxSubject(0), "");  // there is no A.txt
}

TEST_F(SpamBoxList, AnEndingInOtherLetterCaseCounts) {
  save("A1", "a@b.c", "Hello", 1);
  std::filesystem::rename(native("\\spam\\A1.txt"), native("\\spam\\A1.TXT"));
  ASSERT_TRUE(spamboxList());
  EXPECT_EQ(spamboxKey(0), "A1");
  EXPECT_EQ(spamboxSubject(0), "Hello");
}

TEST_F(SpamBoxList, OtherFilesAreNotListed) {
  makeFile("\\spam\\notes.doc", "x");
  ASSERT_TRUE(spamboxList());
  EXPECT_EQ(spamboxCount(), 0);
}

TEST_F(SpamBoxList, AnEmptyOrMissingFolderListsNothing) {
  ASSERT_TRUE(spamboxList());
  EXPECT_EQ(spamboxCount(), 0);
  std::filesystem::remove_all(native("\\spam"));
  ASSERT_TRUE(spamboxList());
  EXPECT_EQ(spamboxCount(), 0);
}

TEST_F(SpamBoxList, AFileThatCannotBeReadIsListedWithoutTexts) {
  save("bad", "a@b.c", "Hello", 2);
  save("good", "a@b.c", "World", 1);
  sim::failReadsOf("bad.txt");
  ASSERT_TRUE(spamboxList());
  sim::failReadsOf("");
  EXPECT_EQ(spamboxKey(0), "bad");
  EXPECT_EQ(spamboxSubject(0), "");
  EXPECT_EQ(spamboxSubject(1), "World");
}

TEST_F(SpamBoxList, EventsAreServedForEachFile) {
  makeFile("\\spam\\A.txt.txt",
           "x");  // listed as "A", and there is no A.txt: reading a file would serve them too
  bool served = false;
  sim::after(0, [&] { served = true; });
  ASSERT_TRUE(spamboxList());
  EXPECT_TRUE(served);
}

TEST_F(SpamBoxList, InTheMiddleOfAScanNoRowMixesTwoMessages) {
  save("A1", "a@b.c", "about A1", 1);
  save("B2", "a@b.c", "about B2", 2);
  ASSERT_TRUE(spamboxList());
  save("C3", "a@b.c", "about C3", 3);
  int looked = 0;
  sim::after(0, [&] {
    for (std::int16_t i = 0; i < spamboxCount(); i++) {
      EXPECT_TRUE(spamboxKey(i)->empty() || *spamboxSubject(i) == "about " + *spamboxKey(i)) << i;
      looked++;
    }
  });
  ASSERT_TRUE(spamboxList());
  EXPECT_EQ(looked, 3);
  EXPECT_EQ(spamboxKey(0), "C3");
}

TEST_F(SpamBoxList, EventsAreServedBeforeAFileIsRead) {
  save("A1", "a@b.c", "Old", 1);
  sim::after(0, [] { save("A1", "a@b.c", "New", 1); });
  ASSERT_TRUE(spamboxList());
  EXPECT_EQ(spamboxSubject(0), "New");
}

TEST_F(SpamBoxList, AScanTakesTheMailComponentsSlotAndEmptiesIt) {
  save("A1", "a@b.c", "Hello", 1);
  bool taken = false;
  sim::after(0, [&] { taken = currentMail != nullptr; });
  ASSERT_TRUE(spamboxList());
  EXPECT_TRUE(taken);
  EXPECT_EQ(currentMail, nullptr);
  currentMail = std::make_unique<MailComponent>();
  ASSERT_TRUE(spamboxList());
  EXPECT_EQ(currentMail, nullptr);
}

TEST_F(SpamBoxList, TenThousandAndOneFilesFitAndOneMoreFailsEveryScan) {
  fillFolder(10001);
  ASSERT_TRUE(spamboxList());
  EXPECT_EQ(spamboxCount(), 10001);
  EXPECT_NE(spamboxKey(10000), "");
  const auto first = spamboxKey(0);
  save("onemore", "a@b.c", "One more", 5);
  EXPECT_FALSE(spamboxList());
  EXPECT_EQ(spamboxCount(), 10001);
  EXPECT_EQ(spamboxKey(0), first);
}

TEST_F(SpamBoxList, AnIndexOutsideTheRoomIsNoMessage) {
  for (const std::int16_t index : {std::int16_t{-1}, std::int16_t{10001}}) {
    EXPECT_EQ(spamboxKey(index), std::nullopt);
    EXPECT_EQ(spamboxFrom(index), std::nullopt);
    EXPECT_EQ(spamboxDate(index), std::nullopt);
    EXPECT_EQ(spamboxSubject(index), std::nullopt);
    EXPECT_EQ(spamboxSize(index), std::nullopt);
  }
  EXPECT_EQ(spamboxKey(10000), "");
}

}  // namespace
}  // namespace vornelle
