#include "core/event_log.h"

#include "core/settings.h"
#include "tests/unit/support.h"

namespace vornelle {
namespace {

constexpr std::string_view kLineStamp = "[11-15-26 01:55 AM] ";

class EventLog : public SimTest {
 protected:
  EventLog() { assignConstants(); }

  // Logs the text and returns the line without its stamp and end, after a look that box and file agree.
  static std::string logged(std::string_view text) {
    form1.LogWindow.setText("");
    static_cast<void>(deleteFile(inFolder("\\Vornelle.log")));
    LogWindowAdd(text);
    const std::string line = form1.LogWindow.text();
    EXPECT_EQ(contentOf("\\Vornelle.log"), line);
    EXPECT_TRUE(line.starts_with(kLineStamp) && line.ends_with("\r\n")) << line;
    return line.substr(kLineStamp.size(), line.size() - kLineStamp.size() - 2);
  }
  static std::string id() { return std::string(64, 'Q'); }
};

TEST_F(EventLog, ALineIsStampTextAndLineEnd) {
  EXPECT_EQ(logged("Filter mail (user request)"), "Filter mail (user request)");
  EXPECT_EQ(logged(""), "");
  EXPECT_EQ(logged(" "), " ");
}

TEST_F(EventLog, TheStampHasATwelveHourClockAndNoSeconds) {
  const std::int64_t midnight = 1794700800;  // 2026-11-15 00:00:00
  EXPECT_EQ(formatLogTime(midnight), "11-15-26 12:00 AM");
  EXPECT_EQ(formatLogTime(midnight + 59), "11-15-26 12:00 AM");
  EXPECT_EQ(formatLogTime(midnight + 6900), "11-15-26 01:55 AM");
  EXPECT_EQ(formatLogTime(midnight + 12 * 3600), "11-15-26 12:00 PM");
  EXPECT_EQ(formatLogTime(midnight + 23 * 3600 + 59 * 60), "11-15-26 11:59 PM");
  EXPECT_EQ(formatLogTime(midnight - 86400 * 314 + 13 * 3600), "01-05-26 01:00 PM");
}

TEST_F(EventLog, TheHalvesOfTheDayAreNamedAsTheSystemNamesThem) {
  sim::shell().amDesignator = "vorm.";
  sim::shell().pmDesignator = "nachm.";
  EXPECT_TRUE(formatLogTime(1794700800).ends_with("12:00 vorm."));
  EXPECT_TRUE(formatLogTime(1794700800 + 43200).ends_with("12:00 nachm."));
}

TEST_F(EventLog, TheBoxKeepsEveryLineAndTheFileIsAppendedTo) {
  makeFile("\\Vornelle.log", "an earlier run\r\n");
  LogWindowAdd("one");
  LogWindowAdd("two");
  const std::string lines = std::string(kLineStamp) + "one\r\n" + std::string(kLineStamp) + "two\r\n";
  EXPECT_EQ(form1.LogWindow.text(), lines);
  EXPECT_EQ(contentOf("\\Vornelle.log"), "an earlier run\r\n" + lines);
}

// ---- session ids ----

TEST_F(EventLog, TheIdAfterTheFirstParameterIsCutAndTheRestKept) {
  EXPECT_EQ(logged("GET /inbox.htm?s=" + id() + "HTTP/1.1"), "GET /inbox.htmHTTP/1.1");
  EXPECT_EQ(logged("GET /inbox.htm?s=" + id() + "&p=2 HTTP/1.1"), "GET /inbox.htm&p=2 HTTP/1.1");
}

TEST_F(EventLog, TheIdAfterALaterParameterIsCut) {
  EXPECT_EQ(logged("/read.htm?m=4&s=" + id() + "&x=1"), "/read.htm?m=4&x=1");
}

TEST_F(EventLog, BothKindsOfIdAreCutFromOneLine) {
  EXPECT_EQ(logged("a?s=" + id() + "b&s=" + id() + "c"), "abc");
  EXPECT_EQ(logged("a&s=" + id() + "b?s=" + id() + "c"), "abc");
}

TEST_F(EventLog, OnlyTheFirstOfEachMarkerIsCut) {
  EXPECT_EQ(logged("a?s=" + id() + "b?s=c"), "ab?s=c");
}

TEST_F(EventLog, TheSecondCutLooksAtTheLineAsTheFirstLeftIt) {
  // The first cut takes 67 characters, the second marker among them.
  EXPECT_EQ(logged("a?s=&s=" + std::string(61, 'Q') + "tail"), "atail" + std::string());
  // The first cut brings the two halves of a marker together.
  EXPECT_EQ(logged("a&?s=" + id() + "s=" + id() + "b"), "ab");
}

TEST_F(EventLog, TheMarkerIsFoundInAnyLetterCase) {
  EXPECT_EQ(logged("a?S=" + id() + "b&S=" + id() + "c"), "abc");
}

TEST_F(EventLog, AMarkerNearTheEndCutsTheLineOff) {
  EXPECT_EQ(logged("a?s=short"), "a");
  EXPECT_EQ(logged("a&s="), "a");
  EXPECT_EQ(logged("a?s=" + id()), "a");
  EXPECT_EQ(logged("a?s=" + id() + "x"), "ax");
}

TEST_F(EventLog, AShorterIdTakesFollowingTextWithIt) {
  EXPECT_EQ(logged("?s=abc" + std::string(61, '-') + "rest"), "rest");
}

TEST_F(EventLog, TextWithoutAMarkerIsLoggedUnchanged) {
  const std::string text = "?t=1&ss=2 s= ?s &s " + std::string(200, 'x');
  EXPECT_EQ(logged(text), text);
}

TEST_F(EventLog, TheCutFollowsTheLengthOfTheDeletePrefix) {
  settings.deletePrefix = "DEL";
  EXPECT_EQ(logged("a?s=" + id() + "xyz"), "az");
  settings.deletePrefix = "";  // before start-up has assigned it
  EXPECT_EQ(logged("a?s=" + id() + "xyz"), "axyz");
}

TEST_F(EventLog, NoIdSlipsThroughBehindTheReachOf16BitPositions) {
  const std::string far(40000, 'x');
  std::string line = logged(far + "?s=" + id());
  EXPECT_EQ(kLineStamp.size() + line.size(), 32767u);
  line = logged(far + "&s=" + id());
  EXPECT_EQ(kLineStamp.size() + line.size(), 32767u);
  // The marker can be held, the end of the id cannot.
  const std::string near(32767 - kLineStamp.size() - 67, 'x');
  EXPECT_TRUE(logged(near + "?s=" + id() + "rest") == near);
  // The last place where both can be held.
  const std::string nearer = near.substr(1);
  EXPECT_TRUE(logged(nearer + "?s=" + id() + "rest") == nearer + "rest");
  // Long lines without a marker are whole.
  EXPECT_TRUE(logged(far) == far);
}

// ---- order and failure ----

TEST_F(EventLog, EventsAreServedBetweenBoxAndFile) {
  std::string boxSeen;
  std::string fileSeen;
  sim::after(0, [&] {
    boxSeen = form1.LogWindow.text();
    fileSeen = contentOf("\\Vornelle.log");
  });
  LogWindowAdd("outer");
  EXPECT_EQ(boxSeen, std::string(kLineStamp) + "outer\r\n");
  EXPECT_EQ(fileSeen, "(missing)");
}

TEST_F(EventLog, ALineLoggedMeanwhileComesLaterInTheBoxAndEarlierInTheFile) {
  sim::after(0, [] { LogWindowAdd("inner"); });
  LogWindowAdd("outer");
  const std::string outer = std::string(kLineStamp) + "outer\r\n";
  const std::string inner = std::string(kLineStamp) + "inner\r\n";
  EXPECT_EQ(form1.LogWindow.text(), outer + inner);
  EXPECT_EQ(contentOf("\\Vornelle.log"), inner + outer);
}

TEST_F(EventLog, TheChangeHandlerRunsOnceForEveryLine) {
  int changes = 0;
  form1.LogWindow.onChange = [&] { ++changes; };
  LogWindowAdd("one");
  LogWindowAdd("two");
  EXPECT_EQ(changes, 2);
}

TEST_F(EventLog, AFileThatCannotBeWrittenLeavesTheLineInTheBox) {
  sim::failWritesTo("Vornelle.log");
  LogWindowAdd("only in the box");
  EXPECT_EQ(form1.LogWindow.text(), std::string(kLineStamp) + "only in the box\r\n");
  EXPECT_FALSE(fileExists(inFolder("\\Vornelle.log")));
}

}  // namespace
}  // namespace vornelle
