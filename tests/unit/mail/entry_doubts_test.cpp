#include "mail/entry_doubts.h"

#include "core/settings.h"
#include "mail/filter_lists.h"
#include "tests/unit/support.h"

namespace vornelle {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class EntryDoubtsTest : public SimTest {
 protected:
  EntryDoubtsTest() {
    makeFile("\\data\\friendlist.txt", "");
    makeFile("\\data\\enemylist.txt", "");
  }
  static std::vector<std::string> friendly(std::string_view entry) {
    return EntryDoubts(kFriendList).of(entry);
  }
  static std::vector<std::string> hostile(std::string_view entry) {
    return EntryDoubts(kEnemyList).of(entry);
  }
  static std::vector<std::string> subject(std::string_view entry) {
    return EntryDoubts(kSubjectList).of(entry);
  }
};

TEST_F(EntryDoubtsTest, AnAddressAndADomainGoOnAListWithoutAQuestion) {
  for (const char* entry :
       {"bob@example.org", "@example.org", "example.org", "bob b. <bob@example.org>", ".example.org"}) {
    EXPECT_THAT(friendly(entry), IsEmpty()) << entry;
    EXPECT_THAT(hostile(entry), IsEmpty()) << entry;
  }
}

TEST_F(EntryDoubtsTest, FewerThanFiveLettersAreAReasonToAskOnEveryList) {
  EXPECT_THAT(friendly("a@b."), ElementsAre("It has fewer than five letters."));
  EXPECT_THAT(hostile(" .com "), testing::Contains("It has fewer than five letters."));
  EXPECT_THAT(subject("re:"), ElementsAre("It has fewer than five letters."));
  EXPECT_THAT(subject("choir"), IsEmpty());
  EXPECT_THAT(friendly("a@b.c"), IsEmpty());
}

TEST_F(EntryDoubtsTest, LettersCountAndNotTheirBytes) {
  EXPECT_THAT(subject("&#1087;&#1088;&#1080;&#1074;"), ElementsAre("It has fewer than five letters."));
  EXPECT_THAT(subject("&#1087;&#1088;&#1080;&#1074;&#1077;"), IsEmpty());
}

TEST_F(EntryDoubtsTest, AWordWithNeitherAtNorDotIsAReasonToAskForSenders) {
  EXPECT_THAT(friendly("robert"), ElementsAre(HasSubstr("neither \"@\" nor \".\"")));
  EXPECT_THAT(hostile("robert"), ElementsAre(HasSubstr("neither \"@\" nor \".\"")));
  EXPECT_THAT(subject("newsletter"), IsEmpty());
}

TEST_F(EntryDoubtsTest, EveryPieceOfALargeProvidersDomainIsAReasonToAsk) {
  for (const char* entry : {"@gmail.com", "gmail.com", "GMAIL.com>", "gmail.", "mail.com"}) {
    EXPECT_THAT(friendly(entry), ElementsAre(HasSubstr("everybody who has an address at "))) << entry;
  }
  EXPECT_THAT(friendly("bob@gmail.com"), IsEmpty());
  EXPECT_THAT(hostile("@t-online.de"),
              ElementsAre("It matches everybody who has an address at t-online.de."));
}

TEST_F(EntryDoubtsTest, AnEndingThatADomainShareIsAReasonToAsk) {
  EXPECT_THAT(hostile(".info"), ElementsAre("It matches every address that ends in \".info\"."));
  EXPECT_THAT(hostile(".x.info"), IsEmpty());
}

TEST_F(EntryDoubtsTest, OnesOwnAddressAndDomainAreAReasonToAsk) {
  settings.EMAIL_ADDRESS = " Wilma@Home.example ";
  for (const char* entry :
       {"wilma@home.example", "@home.example", "home.example", "wilma w. <wilma@home.example>"}) {
    EXPECT_THAT(friendly(entry),
                ElementsAre(HasSubstr("your own address Wilma@Home.example, which much spam")))
        << entry;
    EXPECT_THAT(hostile(entry), ElementsAre(HasSubstr("mail that you send to yourself"))) << entry;
  }
  EXPECT_THAT(friendly("fred@home.example"), IsEmpty());
}

TEST_F(EntryDoubtsTest, AnAccountThatIsAnAddressIsOnesOwnAndIsToldOnce) {
  settings.EMAIL_ADDRESS = "w@home.example";
  settings.POP_ACCOUNT = "W@HOME.example";
  EXPECT_EQ(friendly("@home.example").size(), 1U);
  settings.POP_ACCOUNT = "wilma@other.example";
  EXPECT_THAT(friendly("@other.example"), ElementsAre(HasSubstr("wilma@other.example")));
  settings.POP_ACCOUNT = "other";
  EXPECT_THAT(friendly("@other.example"), IsEmpty());
}

TEST_F(EntryDoubtsTest, AFriendWhomAnEnemyEntryMatchesIsAReasonToAsk) {
  makeFile("\\data\\enemylist.txt", "\r\n   \r\nBob@example.org\r\n@wide.example\r\n");
  EXPECT_THAT(friendly("bob@EXAMPLE.org"),
              ElementsAre(HasSubstr("The EnemyList has \"Bob@example.org\", which wins")));
  EXPECT_THAT(friendly("ann@wide.example"), ElementsAre(HasSubstr("The EnemyList has \"@wide.example\"")));
  EXPECT_THAT(friendly("@example.org"), IsEmpty()) << "the others of that domain become friends";
}

TEST_F(EntryDoubtsTest, AnEnemyWhoIsAFriendOrMatchesOneIsAReasonToAsk) {
  makeFile("\\data\\friendlist.txt", "Bob@example.org\r\n@wide.example\r\n");
  EXPECT_THAT(hostile("bob@example.ORG"),
              ElementsAre(HasSubstr("The FriendList has \"Bob@example.org\", whose mail")));
  EXPECT_THAT(hostile("@example.org"), ElementsAre(HasSubstr("The FriendList has \"Bob@example.org\"")));
  EXPECT_THAT(hostile("eve@wide.example"), IsEmpty()) << "one of a domain of friends may be an enemy";
}

TEST_F(EntryDoubtsTest, AnotherListThatCannotBeReadHoldsNothing) {
  static_cast<void>(deleteFile(inFolder("\\data\\enemylist.txt")));
  EXPECT_THAT(friendly("bob@example.org"), IsEmpty());
}

TEST_F(EntryDoubtsTest, AnEntryOfBlanksIsNone) {
  EXPECT_THAT(friendly("   "), IsEmpty());
  EXPECT_THAT(subject(""), IsEmpty());
}

}  // namespace
}  // namespace vornelle
