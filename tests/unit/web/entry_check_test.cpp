#include "web/entry_check.h"

#include "pages/Spambox.h"
#include "tests/unit/pages/spambox_test_support.h"

namespace vornelle {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

class EntryCheck : public SpamBoxTest {
 protected:
  EntryCheck() {
    save("a", "\"Ann\" <ann@x.example>", "choir", 3);
    save("b", "bob@y.example", "parcel", 2);
    save("c", "ANN@z.example", "Choir again", 1);
    EXPECT_TRUE(spamboxList());
  }
};

TEST_F(EntryCheck, AnEntryWithNothingOddAboutItHasNoDoubts) {
  EXPECT_EQ(
      entryCheckJson("list=FriendList&entries=zoe%40x.example&box=spam&first=0&last=2"),
      "{\"entries\": [], \"rows\": [], \"matches\": \"On this page 0 of 3 messages would match.\"}\r\n");
}

TEST_F(EntryCheck, TheRowsOfThePageThatWouldMatchAreTold) {
  EXPECT_EQ(entryCheckJson("list=EnemyList&entries=AnN&box=spam&first=0&last=2"),
            "{\"entries\": [{\"entry\": \"ann\", \"doubts\": [\"It has fewer than five letters.\"]}], "
            "\"rows\": [0, 2], "
            "\"matches\": \"On this page 2 of 3 messages would match.\"}\r\n");
  EXPECT_THAT(entryCheckJson("list=EnemyList&entries=ann&box=spam&first=1&last=1"),
              HasSubstr("\"rows\": []"));
}

TEST_F(EntryCheck, SeveralEntriesAreAskedAboutAtOnce) {
  const std::string answer =
      entryCheckJson("list=FriendList&entries=ann%0Abob%40y.example%0A%40gmail.com&box=spam&first=0&last=2");
  EXPECT_THAT(answer, StartsWith("{\"entries\": [{\"entry\": \"ann\""));
  EXPECT_THAT(answer, HasSubstr("{\"entry\": \"@gmail.com\""));
  EXPECT_THAT(answer, HasSubstr("\"rows\": [0, 1, 2]"));
}

TEST_F(EntryCheck, AQuoteInAnEntryMatchesWhereTheSenderHasIt) {
  EXPECT_THAT(
      entryCheckJson("list=FriendList&entries=%22ann%22%20%3Cann%40x.example%3E&box=spam&first=0&last=2"),
      HasSubstr("\"rows\": [0]"));
}

TEST_F(EntryCheck, APageWithoutRowsTellsOfWhatWasShownLast) {
  EXPECT_THAT(entryCheckJson("list=FriendList&entries=ann"),
              HasSubstr("\"Of what was shown last, 2 of 3 messages in the SpamBox would match.\""));
}

TEST_F(EntryCheck, AnEntryOfTheSubjectListIsLookedForInSubjects) {
  EXPECT_THAT(entryCheckJson("list=SubjectList&entries=choir"), HasSubstr("2 of 3 messages in the SpamBox"));
}

TEST_F(EntryCheck, RowsBeyondTheListingAreNone) {
  const std::string none = entryCheckJson("list=FriendList&entries=ann&box=inbox&first=0&last=99999999999");
  EXPECT_THAT(none, HasSubstr("\"rows\": [], \"matches\": \"\""));
  EXPECT_THAT(entryCheckJson("list=FriendList&entries=ann&box=spam&first=-5&last=32767"),
              HasSubstr("\"rows\": [0, 2]"));
  EXPECT_THAT(entryCheckJson("list=FriendList&entries=ann&box=spam&first=x&last="),
              HasSubstr("\"rows\": []"));
}

TEST_F(EntryCheck, AFormThatSaysNothingIsAnswered) {
  for (const char* form : {"", "&&=&", "entries=", "list=Other&entries=%0A%0A", "entries=%"}) {
    EXPECT_THAT(entryCheckJson(form), StartsWith("{\"entries\": ["));
  }
}

TEST_F(EntryCheck, AnEntryIsTextThatCannotEndAScript) {
  EXPECT_THAT(entryCheckJson("list=SubjectList&entries=%3C%2F%22"),
              HasSubstr("{\"entry\": \"\\u003c/\\\"\""));
}

}  // namespace
}  // namespace vornelle
