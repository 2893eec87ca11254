// Filter runs that fetch ahead: many commands are under way while each message is saved, logged and deleted.
#include "mail/spambox_store.h"
#include "tests/unit/mail/filter_run_fixture.h"

#include <algorithm>

namespace vornelle {
namespace {

using testing::Contains;
using testing::SizeIs;

constexpr int kMessages = 48;

std::string idOf(int n) {
  return "id" + std::to_string(n);
}

class FilterRunSeries : public FilterRun {
 protected:
  // Every fourth message is a friend's.
  FilterRunSeries() {
    drop.pipelining = true;
    for (int n = 1; n <= kMessages; ++n)
      add(idOf(n), isFriends(n) ? "bob@friends.example" : "eve@elsewhere.example",
          "number " + std::to_string(n));
    before = drop.mails;
  }
  static bool isFriends(int n) { return n % 4 == 0; }

  // Whatever has happened: what is gone from the server is whole on the disk, and nothing of a friend's is
  // gone.
  void expectNothingLost() const {
    const std::vector<std::string> left = drop.uidls();
    for (int n = 1; n <= kMessages; ++n) {
      if (std::find(left.begin(), left.end(), idOf(n)) != left.end()) continue;
      EXPECT_FALSE(isFriends(n)) << n;
      EXPECT_TRUE(isSaved(idOf(n), before[static_cast<std::size_t>(n - 1)].source)) << n;
    }
  }
  void expectTheNextRunFinishes() {
    drop.onCommand = nullptr;
    drop.cutAt.clear();
    mailFilter();
    EXPECT_THAT(drop.mails, SizeIs(kMessages / 4));
    expectNothingLost();
  }

  std::vector<SimMail> before;
};

TEST_F(FilterRunSeries, TheRunDoesWhatItDoesOneByOne) {
  const std::vector<std::string> log = runLog();
  EXPECT_THAT(drop.mails, SizeIs(kMessages / 4));
  expectNothingLost();
  EXPECT_EQ(log.back(), "Mail filtered:  12 msgs.  36 spam.");
  EXPECT_EQ(std::count(log.begin(), log.end(), "Removing spam from eve@elsewhere.example"), 36);
}

TEST_F(FilterRunSeries, MessagesThatAreKeptAreNotFetched) {
  std::vector<std::string> commands;
  drop.onCommand = [&](const std::string& line) { commands.push_back(line); };
  mailFilter();
  EXPECT_THAT(commands, Contains("RETR 1"));
  EXPECT_THAT(commands, testing::Not(Contains("RETR 4")));
}

TEST_F(FilterRunSeries, NoDeletionGoesOutBeforeItsFileIsWhole) {
  int deletions = 0;
  drop.onCommand = [&](const std::string& line) {
    if (!line.starts_with("DELE ")) return;
    ++deletions;
    const std::size_t number = std::stoul(line.substr(5));
    EXPECT_TRUE(isSaved(idOf(static_cast<int>(number)), before[number - 1].source)) << line;
  };
  mailFilter();
  EXPECT_EQ(deletions, 36);
}

TEST_F(FilterRunSeries, AtMost64SavedMessagesOrAMebibyteOfThemWaitForTheirDeletion) {
  const auto savedAtFirstDeletion = [&] {
    const int spamBefore = countSpam();
    int saved = 0;
    drop.onCommand = [&](const std::string& line) {
      if (line.starts_with("DELE ") && saved == 0) saved = countSpam() - spamBefore;
    };
    mailFilter();
    EXPECT_TRUE(drop.mails.empty());
    return saved;
  };
  drop.mails.clear();
  for (int n = 1; n <= 200; ++n) add(idOf(n), "eve@elsewhere.example");
  EXPECT_EQ(savedAtFirstDeletion(), 64);

  settings.MAX_SPAM_SIZE = 30000;
  for (int n = 1; n <= 20; ++n) {
    add("large" + std::to_string(n), "eve@elsewhere.example");
    drop.mails.back().source += std::string(300U << 10, 'x') + "\r\n";
  }
  EXPECT_EQ(savedAtFirstDeletion(), 4);
}

TEST_F(FilterRunSeries, InTestModeNothingIsDeleted) {
  form1.ckTestMode.setValue(1);
  mailFilter();
  EXPECT_THAT(drop.mails, SizeIs(kMessages));
  EXPECT_EQ(countSpam(), 36);
}

TEST_F(FilterRunSeries, TestModeThatIsSwitchedOnDuringTheRunHoldsForTheMessagesAfterIt) {
  add("id49", "eve@elsewhere.example");
  sim::after(0, [] { form1.ckTestMode.setValue(1); });
  mailFilter();
  EXPECT_THAT(drop.mails, SizeIs(kMessages + 1));
}

TEST_F(FilterRunSeries, ALimitThatFallsDuringTheRunLeavesWhatWasFetchedAhead) {
  // Every message is larger than a limit of nothing, and so kept.
  sim::after(0, [] { settings.MAX_SPAM_SIZE = -1; });
  mailFilter();
  EXPECT_THAT(drop.mails, SizeIs(kMessages));
  EXPECT_EQ(countSpam(), 0);
}

TEST_F(FilterRunSeries, AMessageThatTheDiskDoesNotTakeStays) {
  sim::failWritesTo("id7.txt");
  mailFilter();
  EXPECT_THAT(drop.uidls(), Contains("id7"));
  EXPECT_THAT(drop.mails, SizeIs(kMessages / 4 + 1));
  expectNothingLost();
  sim::failWritesTo("");
  expectTheNextRunFinishes();
}

TEST_F(FilterRunSeries, AMessageThatTheDiskDoesNotKeepIsNotDeleted) {
  sim::failFlushesOf("id7.txt");
  mailFilter();
  EXPECT_THAT(drop.uidls(), Contains("id7"));
  EXPECT_THAT(drop.mails, SizeIs(kMessages / 4 + 1));
  sim::failFlushesOf("");
  expectTheNextRunFinishes();
}

TEST_F(FilterRunSeries, AFileThatAnotherProgramTakesAwayBeforeItIsFlushedKeepsItsMessage) {
  drop.onCommand = [](const std::string& line) {
    if (line == "RETR 47") sim::after(0, [] { EXPECT_TRUE(deleteFile(inFolder("\\spam\\id1.txt"))); });
  };
  mailFilter();
  EXPECT_THAT(drop.uidls(), Contains("id1"));
  EXPECT_THAT(drop.mails, SizeIs(kMessages / 4 + 1));
}

TEST_F(FilterRunSeries, ASecondRunInsideTheSeriesLosesNothing) {
  int logged = 0;
  drop.onCommand = [&](const std::string& line) {
    if (line == "RETR 9" && ++logged == 1) sim::after(0, [] { mailFilter(); });
  };
  mailFilter();
  expectNothingLost();
  EXPECT_EQ(drop.sessions, drop.quits) << "each session has ended cleanly";
  expectTheNextRunFinishes();
}

TEST_F(FilterRunSeries, ATaskThatTakesTheComponentAwayAtAnyMessageLosesNothing) {
  for (int at = 1; at <= kMessages; ++at) {
    drop.mails = before;
    drop.quits = drop.sessions = 0;
    int served = 0;
    // The log is where the run lets events in while texts are under way.
    std::function<void()> look = [&] {
      if (++served == at) {
        static_cast<void>(newPopComponent().popConnect());
        currentMail.reset();
      } else if (served < at) {
        sim::after(0, look);
      }
    };
    sim::after(0, look);
    mailFilter();
    expectNothingLost();
    EXPECT_EQ(drop.sessions, drop.quits) << at;
  }
  expectTheNextRunFinishes();
}

TEST_F(FilterRunSeries, ALineCutAtAnyCommandLosesNothing) {
  std::vector<std::string> commands;
  drop.onCommand = [&](const std::string& line) { commands.push_back(line); };
  mailFilter();
  drop.onCommand = nullptr;
  ASSERT_GT(commands.size(), 150U);
  for (const std::string& command : commands) {
    drop.mails = before;
    drop.cutAt = command;
    mailFilter();
    if (command != "QUIT" && command != "CAPA") {  // after CAPA the run connects again
      EXPECT_THAT(drop.mails, SizeIs(kMessages)) << command;
    }
    expectNothingLost();
  }
  drop.mails = before;
  expectTheNextRunFinishes();
}

}  // namespace
}  // namespace vornelle
