// Filter runs and other mail tasks that start inside a filter run.
#include "tests/unit/mail/filter_run_fixture.h"

#include <algorithm>

namespace vornelle {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST_F(FilterRun, EventsAreServedOnceForEachMessage) {
  for (int n = 0; n < 3; ++n) add("keep" + std::to_string(n), "bob@friends.example");
  int served = 0;
  std::vector<int> servedAtCommand;
  for (int n = 0; n < 3; ++n) sim::after(0, [&] { ++served; });
  drop.onCommand = [&](const std::string& line) {
    if (line == "QUIT") servedAtCommand.push_back(served);
  };
  mailFilter();
  EXPECT_THAT(servedAtCommand, ElementsAre(3));
}

TEST_F(FilterRun, ASecondRunInsideTheFirstLosesNothing) {
  add("id1", "eve@elsewhere.example", "one");
  add("id2", "bob@friends.example");
  add("id3", "mallory@elsewhere.example", "three");
  const std::vector<SimMail> before = drop.mails;
  sim::after(0, [] { mailFilter(); });
  const std::vector<std::string> lines = runLog();
  EXPECT_EQ(std::count(lines.begin(), lines.end(), "Mail filtered:  1 msgs.  2 spam."), 2);
  EXPECT_THAT(drop.uidls(), ElementsAre("id2"));
  EXPECT_TRUE(isSaved("id1", before[0].source));
  EXPECT_TRUE(isSaved("id3", before[2].source));
  EXPECT_EQ(drop.sessions, 2);
  EXPECT_EQ(drop.quits, 2);
}

TEST_F(FilterRun, ASecondRunFromTheLogLineOfASavedMessageLosesNothing) {
  add("id1", "eve@elsewhere.example", "one");
  add("id2", "mallory@elsewhere.example", "two");
  const std::vector<SimMail> before = drop.mails;
  bool nested = false;
  drop.onCommand = [&](const std::string& line) {
    if (line == "RETR 1" && !nested) {
      nested = true;
      sim::after(0, [] { mailFilter(); });  // served when "Removing spam from " is logged
    }
  };
  mailFilter();
  EXPECT_TRUE(nested);
  EXPECT_THAT(drop.mails, IsEmpty());
  EXPECT_TRUE(isSaved("id1", before[0].source));
  EXPECT_TRUE(isSaved("id2", before[1].source));
}

TEST_F(FilterRun, ATaskThatReplacesTheComponentStopsTheDeletions) {
  add("id1", "eve@elsewhere.example", "one");
  add("id2", "mallory@elsewhere.example", "two");
  const std::vector<SimMail> before = drop.mails;
  sim::after(0, [] {
    static_cast<void>(newPopComponent().popConnect());
    currentMail.reset();
  });
  mailFilter();
  EXPECT_THAT(drop.uidls(), ElementsAre("id1", "id2"));
  EXPECT_EQ(contentOf("\\spam\\id1.txt"), "\r\n");
  mailFilter();
  EXPECT_THAT(drop.mails, IsEmpty());
  EXPECT_TRUE(isSaved("id1", before[0].source));
  EXPECT_TRUE(isSaved("id2", before[1].source));
}

// A session in which the retrieval has not failed would delete the message.
TEST_F(FilterRun, AMessageThatWasNotRetrievedIsNotDeletedThroughTheSessionOfAnotherTask) {
  add("id1", "eve@elsewhere.example");
  drop.mails[0].refused = true;
  drop.onCommand = [](const std::string& line) {
    if (line == "RETR 1") sim::after(0, [] { static_cast<void>(newPopComponent().popConnect()); });
  };
  mailFilter();
  EXPECT_THAT(drop.uidls(), ElementsAre("id1"));
}

TEST_F(FilterRun, AComponentLeftByAFailedLogOnInTheMiddleLosesNothing) {
  add("id1", "eve@elsewhere.example", "one");
  add("id2", "mallory@elsewhere.example", "two");
  sim::after(0, [this] {
    drop.logOnRefused = true;
    static_cast<void>(newPopComponent().popConnect());
    drop.logOnRefused = false;
  });
  mailFilter();
  EXPECT_THAT(drop.uidls(), ElementsAre("id1", "id2"));
  EXPECT_EQ(currentMail, nullptr);
}

}  // namespace
}  // namespace vornelle
