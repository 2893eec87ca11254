#include "mail/spambox_store.h"

#include <algorithm>
#include <map>
#include <random>

#include "base/text.h"
#include "tests/unit/support.h"

namespace vornelle {
namespace {

using testing::UnorderedElementsAre;

class SpamBoxStore : public SimTest {
 protected:
  SpamBoxStore() { EXPECT_TRUE(createFolder(inFolder("\\spam"))); }

  static std::vector<std::string> fileNames() {
    std::vector<std::string> names;
    for (const FolderEntry& entry : listFolder(inFolder("\\spam"), "")) names.push_back(entry.name);
    return names;
  }

  static void save(std::string_view uidl, const std::string& text) {
    ASSERT_TRUE(saveSpam(spamKey(uidl), text)) << uidl;
  }

  // Saved, found again and deleted by its unique-id, and by what the listing says.
  static void expectRoundTrip(const std::string& uidl, const std::string& key) {
    EXPECT_EQ(spamKey(uidl), key);
    save(uidl, "text of " + uidl);
    EXPECT_THAT(fileNames(), UnorderedElementsAre(key + ".txt")) << uidl;
    const std::vector<SpamFile> files = listSpam();
    ASSERT_EQ(files.size(), 1u);
    EXPECT_EQ(files[0].key, key);
    EXPECT_EQ(readFile(spamPath(files[0].key)), "text of " + uidl + "\r\n");
    EXPECT_EQ(spamKey(uidl), key);
    EXPECT_TRUE(deleteSpam(files[0].key));
    EXPECT_EQ(countSpam(), 0);
  }
};

TEST_F(SpamBoxStore, AMessageIsSavedWithALineEndBehindIt) {
  save("abc123", "From: a\r\n\r\nbody\r\n");
  EXPECT_EQ(contentOf("\\spam\\abc123.txt"), "From: a\r\n\r\nbody\r\n\r\n");
  EXPECT_EQ(spamPath("abc123"), inFolder("\\spam\\abc123.txt"));
}

TEST_F(SpamBoxStore, AnyBytesAreSavedAsTheyAre) {
  using namespace std::string_literals;
  save("x", "a\0b\n\r\x1A\xFF"s);
  EXPECT_EQ(contentOf("\\spam\\x.txt"), "a\0b\n\r\x1A\xFF\r\n"s);
}

TEST_F(SpamBoxStore, TheSameUniqueIdTwiceLeavesOneFileWithTheNewerContent) {
  save("abc123", "older");
  save("abc123", "newer");
  EXPECT_EQ(contentOf("\\spam\\abc123.txt"), "newer\r\n");
  EXPECT_EQ(countSpam(), 1);
}

TEST_F(SpamBoxStore, AnEmptyFolderHoldsNothing) {
  EXPECT_EQ(countSpam(), 0);
  EXPECT_TRUE(listSpam().empty());
}

TEST_F(SpamBoxStore, AMissingFolderHoldsNothingAndTakesNothing) {
  sim::reset();
  EXPECT_EQ(countSpam(), 0);
  EXPECT_TRUE(listSpam().empty());
  EXPECT_FALSE(saveSpam("a", "text"));
  EXPECT_FALSE(saveMissingSpam("a"));
}

TEST_F(SpamBoxStore, OnlyTextFilesCount) {
  save("a", "");
  makeFile("\\spam\\B.TXT", "");
  makeFile("\\spam\\c.dat", "");
  makeFile("\\spam\\d.txt.old", "");
  EXPECT_EQ(countSpam(), 2);
  EXPECT_EQ(listSpam().size(), 2u);
}

TEST_F(SpamBoxStore, TheKeyIsTheNameUpToItsFirstTxt) {
  makeFile("\\spam\\UID7.TXT", "");
  makeFile("\\spam\\b.Txt.txt", "");
  std::vector<std::string> keys;
  for (const SpamFile& file : listSpam()) keys.push_back(file.key);
  EXPECT_THAT(keys, UnorderedElementsAre("UID7", "b"));
}

TEST_F(SpamBoxStore, TheListingTellsWhenAFileWasWritten) {
  save("a", "");
  const auto onDisk = listFolder(inFolder("\\spam"), ".txt");
  ASSERT_EQ(onDisk.size(), 1u);
  EXPECT_EQ(listSpam()[0].modifiedMilliseconds, onDisk[0].modifiedMilliseconds);
  EXPECT_GT(onDisk[0].modifiedMilliseconds, 0);
}

TEST_F(SpamBoxStore, AFileThatCannotBeWrittenWholeIsNotThere) {
  sim::failWritesTo("abc");
  EXPECT_FALSE(saveSpam("abc", "text"));
  EXPECT_FALSE(saveMissingSpam("abc"));
  EXPECT_EQ(countSpam(), 0);
}

TEST_F(SpamBoxStore, AFailedWriteLeavesTheEarlierFile) {
  save("abc", "older");
  sim::failWritesTo("abc");
  EXPECT_FALSE(saveSpam("abc", "newer"));
  EXPECT_EQ(contentOf("\\spam\\abc.txt"), "older\r\n");
}

TEST_F(SpamBoxStore, AFailedRetrievalLeavesOneLineEnd) {
  EXPECT_TRUE(saveMissingSpam("abc"));
  EXPECT_EQ(contentOf("\\spam\\abc.txt"), "\r\n");
}

TEST_F(SpamBoxStore, ASavedMessageIsNeverReplacedByNothing) {
  save("abc", "the message");
  EXPECT_TRUE(saveMissingSpam("abc"));
  EXPECT_EQ(contentOf("\\spam\\abc.txt"), "the message\r\n");
}

TEST_F(SpamBoxStore, AMessageReplacesTheEmptyFileOfAFailedRetrieval) {
  EXPECT_TRUE(saveMissingSpam("abc"));
  save("abc", "the message");
  EXPECT_EQ(contentOf("\\spam\\abc.txt"), "the message\r\n");
}

TEST_F(SpamBoxStore, DeletingWhatIsNotThereFails) {
  EXPECT_FALSE(deleteSpam("abc"));
}

TEST_F(SpamBoxStore, OrdinaryUniqueIdsAreKeysAsTheyAre) {
  for (const char* uidl : {"abc123", "UID123-45", "000001f84c2e8a6b", "QhdPYR:00WBw1Ph7x7",
                           "!#$&'()+,-;=@[]^_`{}~", "a.b.c", " a b", "m\xFCller", "100%", "50%x1", "%%4"}) {
    if (std::string_view(uidl).find(':') != std::string_view::npos) continue;
    expectRoundTrip(uidl, uidl);
  }
}

TEST_F(SpamBoxStore, CharactersThatAFileSystemRefusesArePercentEncoded) {
  expectRoundTrip("QhdPYR:00WBw1Ph7x7", "QhdPYR%3A00WBw1Ph7x7");
  expectRoundTrip("<>:\"/\\|?*", "%3C%3E%3A%22%2F%5C%7C%3F%2A");
  expectRoundTrip(std::string("a\0b\x01\x1F\x7F\t", 7), "a%00b%01%1F%7F%09");
  expectRoundTrip("\x81\x8D\x8F\x90\x9D", "%81%8D%8F%90%9D");
}

TEST_F(SpamBoxStore, NoUniqueIdLeavesTheFolder) {
  expectRoundTrip("..\\data\\friendlist", "..%5Cdata%5Cfriendlist");
  expectRoundTrip("../../etc/passwd", "..%2F..%2Fetc%2Fpasswd");
  expectRoundTrip("..", ".%2E");
  expectRoundTrip(".", "%2E");
  expectRoundTrip("c:", "c%3A");
}

TEST_F(SpamBoxStore, ABlankOrDotAtTheEndIsPercentEncoded) {
  expectRoundTrip("abc ", "abc%20");
  expectRoundTrip("abc.", "abc%2E");
  expectRoundTrip("abc. ", "abc.%20");
  expectRoundTrip(" ", "%20");
}

TEST_F(SpamBoxStore, DeviceNamesArePercentEncoded) {
  expectRoundTrip("CON", "%43ON");
  expectRoundTrip("nul", "%6Eul");
  expectRoundTrip("Aux.5", "%41ux.5");
  expectRoundTrip("prn .x", "%70rn .x");
  expectRoundTrip("COM1", "%43OM1");
  expectRoundTrip("lpt9.a.b", "%6Cpt9.a.b");
  expectRoundTrip("com\xB2", "%63om\xB2");
  expectRoundTrip("CONIN$", "%43ONIN$");
  // These only look like it.
  for (const char* uidl : {"CONS", "COM", "COMA", "COM10", "xNUL", "a.con", "lpt"})
    expectRoundTrip(uidl, uidl);
}

TEST_F(SpamBoxStore, APercentSignIsEncodedWhereItWouldReadAsAnEncoding) {
  expectRoundTrip("a%3Ab", "a%253Ab");
  expectRoundTrip("a%3ab", "a%253ab");
  expectRoundTrip("%25", "%2525");
  expectRoundTrip("a%3", "a%3");
  expectRoundTrip("%:", "%%3A");
}

TEST_F(SpamBoxStore, TheDotOfAnEndingInsideIsEncodedBecauseListingsCutThere) {
  expectRoundTrip("abc.txt", "abc%2Etxt");
  expectRoundTrip("a.TXT.b.Txt", "a%2ETXT.b%2ETxt");
}

TEST_F(SpamBoxStore, AnEncodedUniqueIdSharesNoFileWithOneThatLooksLikeIt) {
  save("a:b", "colon");
  save("a%3Ab", "percent");
  EXPECT_EQ(countSpam(), 2);
  EXPECT_EQ(readFile(spamPath(spamKey("a:b"))), "colon\r\n");
  EXPECT_EQ(readFile(spamPath(spamKey("a%3Ab"))), "percent\r\n");
}

TEST_F(SpamBoxStore, TheLaterOfTwoUniqueIdsThatDifferInLetterCaseGetsItsCapitalsEncoded) {
  save("abc", "small");
  save("aBC", "mixed");
  EXPECT_THAT(fileNames(), UnorderedElementsAre("abc.txt", "a%42%43.txt"));
  save("aBC", "mixed again");
  save("abc", "small again");
  EXPECT_EQ(contentOf("\\spam\\abc.txt"), "small again\r\n");
  EXPECT_EQ(contentOf("\\spam\\a%42%43.txt"), "mixed again\r\n");
  EXPECT_EQ(countSpam(), 2);
}

TEST_F(SpamBoxStore, AUniqueIdWithoutCapitalsGetsAllItsLettersEncodedWhereItsNameIsTaken) {
  save("AB1", "capital");
  save("ab1", "small");
  EXPECT_THAT(fileNames(), UnorderedElementsAre("AB1.txt", "%61%621.txt"));
  EXPECT_EQ(contentOf("\\spam\\AB1.txt"), "capital\r\n");
  EXPECT_EQ(readFile(spamPath(spamKey("ab1"))), "small\r\n");
}

TEST_F(SpamBoxStore, LettersAboveAsciiThatDifferInCaseShareNoFile) {
  save("\xFC", "small");
  save("\xDC", "capital");
  EXPECT_EQ(contentOf("\\spam\\\xFC.txt"), "small\r\n");
  EXPECT_EQ(contentOf("\\spam\\%DC.txt"), "capital\r\n");
}

TEST_F(SpamBoxStore, AFailedRetrievalDoesNotTouchTheFileOfAnotherLetterCase) {
  save("abc", "small");
  EXPECT_TRUE(saveMissingSpam(spamKey("ABC")));
  EXPECT_EQ(contentOf("\\spam\\abc.txt"), "small\r\n");
  EXPECT_EQ(contentOf("\\spam\\%41%42%43.txt"), "\r\n");
}

// Unique-ids made of few characters, so that spellings, encodings and device names meet in every order.
TEST_F(SpamBoxStore, TwoUniqueIdsNeverShareAFile) {
  std::mt19937 random(4);
  for (int round = 0; round < 12; ++round) {
    sim::reset();
    ASSERT_TRUE(createFolder(inFolder("\\spam")));
    const std::vector<std::string> pieces = {"c", "C", "o", "O", "n", "N", "%",    "4",   "3",
                                             "6", "f", "F", ".", " ", "/", "\xE4", "\xC4"};
    std::map<std::string, std::string> texts;
    for (int n = 0; n < 120; ++n) {
      std::string uidl;
      for (auto length = 1 + random() % 4; length > 0; --length) uidl += pieces[random() % pieces.size()];
      if (random() % 4 == 0)
        uidl = std::vector<std::string>{"con", "CON", "cOn", "%43on", "%63ON", "Con", "c%4Fn"}[random() % 7];
      texts[uidl] = uidl + " of message " + std::to_string(n);
      save(uidl, texts[uidl]);
    }
    EXPECT_EQ(countSpam(), static_cast<int>(texts.size()));
    for (const auto& [uidl, text] : texts) {
      EXPECT_EQ(readFile(spamPath(spamKey(uidl))), text + "\r\n") << uidl;
    }
  }
}

TEST(SpamBoxKeys, AKeyThatIsTheShortNameOfAnotherFileIsEncoded) {
  const auto shortName = [](const std::string& key) { return key == "123456~1" || key == "ABCDEF~1"; };
  EXPECT_EQ(firstFreeKey("123456~1", shortName), "123456%7E1");
  EXPECT_EQ(firstFreeKey("ABCDEF~1", shortName), "%41%42%43%44%45%46%7E1");
  EXPECT_EQ(firstFreeKey("123456~2", shortName), "123456~2");
}

TEST(SpamBoxKeys, WhereEverythingElseIsTakenNoLetterAndNoTildeIsLeft) {
  const auto all = [](const std::string&) { return true; };
  EXPECT_EQ(firstFreeKey("aB~1", all), "%61%42%7E1");
  EXPECT_EQ(firstFreeKey("%61%42%7E1", all), "%2561%2542%257%451") << "and nobody else's key is the same";
}

}  // namespace
}  // namespace vornelle
