#include "pages/status.h"

#include "core/activity.h"
#include "core/form1.h"
#include "core/settings.h"
#include "mail/mail_failure.h"
#include "tests/unit/support.h"

namespace vornelle {
namespace {

using testing::HasSubstr;
using testing::Not;

class Status : public SimTest {};

TEST_F(Status, OfAProgramThatHasDoneNothing) {
  settings.SESSION_MIN = 30;
  form1.sessionMinutesUsed = 3;
  const std::string status = statusJson();
  EXPECT_THAT(
      status,
      HasSubstr("{\"underWay\": null, \"results\": {}, \"removed\": null, \"pop\": null, \"smtp\": null, "));
  EXPECT_THAT(status, HasSubstr("\"testMode\": false, \"active\": false, \"minutesLeft\": 27, "));
  EXPECT_THAT(status, HasSubstr("\"inbox\": {\"fresh\": false, \"fetched\": 0, \"count\": 0}}"));
}

TEST_F(Status, TellsTheResultsThatThereHaveBeen) {
  form1.ckTestMode.setChecked(true);
  outcomes.filterRun = outcome(true, "Mail filtered:  2 msgs.  1 spam.");
  outcomes.addition = outcome(false, "Not \"added\" <b>\\ \xE9 &#1087;\r\n");
  const std::string status = statusJson();
  EXPECT_THAT(status, HasSubstr("\"results\": {\"filterRun\": {\"time\": "));
  EXPECT_THAT(status,
              HasSubstr("\"good\": true, \"text\": \"Mail filtered:  2 msgs.  1 spam.\"}, \"add\": {"));
  EXPECT_THAT(status, HasSubstr("\"Not \\\"added\\\" \\u003cb>\\\\ \xC3\xA9 \xD0\xBF\\u000d\\u000a\""));
  EXPECT_THAT(status, HasSubstr("\"testMode\": true"));
}

TEST_F(Status, OfTwoResultsInTheSameSecondTheLaterOneIsNamedLast) {
  const auto isNamedLast = [](std::string_view name, std::string_view other) {
    const std::string status = statusJson();
    return status.find(name) > status.find(other);
  };
  outcomes.removal = outcome(true, "removed");
  outcomes.filterRun = outcome(true, "filtered");
  EXPECT_TRUE(isNamedLast("\"filterRun\"", "\"remove\""));
  outcomes.removal = outcome(true, "removed again");
  EXPECT_TRUE(isNamedLast("\"remove\"", "\"filterRun\""));
}

TEST_F(Status, TellsWhatCanBePutBack) {
  lastRemoval = {"EnemyList", {"eve", "a \"b\""}};
  EXPECT_THAT(statusJson(),
              HasSubstr("\"removed\": {\"list\": \"EnemyList\", \"entries\": [\"eve\", \"a \\\"b\\\"\"]}, "));
}

TEST_F(Status, TellsWhyAServerCouldNotBeUsed) {
  lastMailFailures.pop.reason = MailReason::refused;
  lastMailFailures.pop.step = MailStep::connecting;
  lastMailFailures.pop.host = "mail.example";
  lastMailFailures.pop.port = 110;
  EXPECT_THAT(statusJson(),
              HasSubstr("\"pop\": {\"reason\": \"refused\", \"step\": \"connecting\", \"host\": "
                        "\"mail.example\", \"port\": 110, \"words\": \"\", \"text\": \""));
}

TEST_F(Status, TheFirstStepsAreDoneOnceTheyHaveSucceeded) {
  const auto steps = [] {
    const std::string status = statusJson();
    const std::size_t at = status.find("{\"mailbox\"");
    return status.substr(at, status.find('}', at) + 1 - at);
  };
  EXPECT_EQ(steps(), R"({"mailbox": false, "friends": false, "run": false})");
  settings.POP_SERVER = "pop.example";
  makeFile("\\data\\friendlist.txt", "@friend.example\r\n");
  // A run that was asked for too early.
  outcomes.filterRun = outcome(false, "You need to set up your FriendList first!");
  EXPECT_EQ(steps(), R"({"mailbox": true, "friends": true, "run": false})");
  outcomes.filterRun = outcome(true, "Mail filtered:  2 msgs.  0 spam.");
  EXPECT_EQ(steps(), R"({"mailbox": true, "friends": true, "run": true})");
}

TEST_F(Status, AMailboxThatRefusesTheAccountIsNotEntered) {
  settings.POP_SERVER = "pop.example";
  const auto entered = [](MailReason reason, MailStep step) {
    lastMailFailures.pop.reason = reason;
    lastMailFailures.pop.step = step;
    return statusJson().find("{\"mailbox\": true") != std::string::npos;
  };
  EXPECT_FALSE(entered(MailReason::saidNo, MailStep::loggingOn));
  EXPECT_FALSE(entered(MailReason::credentialsUnusable, MailStep::loggingOn));
  EXPECT_FALSE(entered(MailReason::fieldUnreadable, MailStep::connecting));
  EXPECT_FALSE(entered(MailReason::schemeUnknown, MailStep::connecting));
  // It may work in a minute.
  EXPECT_TRUE(entered(MailReason::saidNo, MailStep::fetching));
  EXPECT_TRUE(entered(MailReason::timedOut, MailStep::connecting));
  EXPECT_TRUE(entered(MailReason::nameNotFound, MailStep::connecting));
  EXPECT_TRUE(entered(MailReason::none, MailStep::none));
}

TEST_F(Status, TheTaskThatBeganLastIsUnderWay) {
  const Activity outer(Task::filterRun);
  {
    Activity inner(Task::inboxFetch);
    EXPECT_EQ(progressText(*underWay()), "Reading the Inbox");
    inner.step(1, 2);
    EXPECT_EQ(progressText(*underWay()), "Reading the Inbox: 1 of 2");
  }
  EXPECT_EQ(progressText(*underWay()), "Filtering");
}

TEST_F(Status, AsAnAttributeItEndsNoAttributeAndHoldsNoMarkup) {
  outcomes.addition = outcome(false, "\"<b>' & \xE9 &#1087;");
  const std::string text = statusAttribute();
  EXPECT_THAT(text, Not(testing::ContainsRegex("[<\"]")));
  EXPECT_THAT(text, HasSubstr("\\&quot;\\u003cb>' &amp; \xE9 &#1087;&quot;"));
}

}  // namespace
}  // namespace vornelle
