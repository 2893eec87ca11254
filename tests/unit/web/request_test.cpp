#include "web/request.h"

#include "tests/unit/support.h"

namespace vornelle {
namespace {

class RequestTest : public SimTest {
 protected:
  static std::string pathOf(std::string text) {
    form1.requestPath = "unchanged";
    readRequest(std::move(text));
    return form1.requestPath;
  }
};

TEST_F(RequestTest, TheTargetOfAGetLineIsThePathQueryIncluded) {
  EXPECT_EQ(pathOf("GET / HTTP/1.0\r\n\r\n"), "/");
  EXPECT_EQ(pathOf("GET /displayinbox.htm?s=QWERTY&MSG=16 HTTP/1.1\r\nHost: a b\r\n\r\n"),
            "/displayinbox.htm?s=QWERTY&MSG=16");
}

TEST_F(RequestTest, TheTargetOfAPostLineIsThePath) {
  EXPECT_EQ(pathOf("POST /login.cgi HTTP/1.1\r\n\r\na=b"), "/login.cgi");
  EXPECT_EQ(pathOf("POST / HTTP/1.1\r\n\r\n"), "/");
}

TEST_F(RequestTest, TheMethodIsReadInCapitalsOnly) {
  EXPECT_EQ(pathOf("get / HTTP/1.0\r\n\r\n"), "unchanged");
  EXPECT_EQ(pathOf("post / HTTP/1.0\r\n\r\n"), "unchanged");
}

TEST_F(RequestTest, OtherMethodsGiveNoPath) {
  EXPECT_EQ(pathOf("HEAD / HTTP/1.0\r\n\r\n"), "unchanged");
  EXPECT_EQ(pathOf("PUT / HTTP/1.0\r\n\r\n"), "unchanged");
  EXPECT_EQ(pathOf("POS T / HTTP/1.0\r\n\r\n"), "unchanged");
}

TEST_F(RequestTest, TheMethodStandsAtTheVeryStart) {
  EXPECT_EQ(pathOf(" GET / HTTP/1.0"), "unchanged");
  EXPECT_EQ(pathOf("\r\nGET / HTTP/1.0"), "unchanged");
}

TEST_F(RequestTest, ATargetWithoutABlankBehindItGivesNoPath) {
  EXPECT_EQ(pathOf("GET /index.htm"), "unchanged");
  EXPECT_EQ(pathOf("GET /"), "unchanged");
  EXPECT_EQ(pathOf("GET"), "unchanged");
  EXPECT_EQ(pathOf("POST /x\r\n\r\n"), "unchanged");
  EXPECT_EQ(pathOf("POST"), "unchanged");
}

TEST_F(RequestTest, ALaterPieceOfABodyReplacesTheTextAndLeavesThePath) {
  readRequest("POST /a HTTP/1.1\r\n\r\na=1&");
  readRequest("b=2&");
  EXPECT_EQ(form1.requestPath, "/a");
  EXPECT_EQ(form1.requestText, "b=2&");
}

TEST_F(RequestTest, OddLinesAreTakenByPlainTextSearch) {
  EXPECT_EQ(pathOf("GET  / HTTP/1.0"), " /");       // the second blank belongs to the target
  EXPECT_EQ(pathOf("GETaway bar"), "away");         // no "GET " at all
  EXPECT_EQ(pathOf("GETX GET /x HTTP/1.0"), "/x");  // the first "GET " is the later one
  EXPECT_EQ(pathOf("POST  x y"), "");               // the target ends where it begins
}

TEST_F(RequestTest, EveryPathThatIsReadHasANumberOfItsOwn) {
  readRequest("GET /a HTTP/1.0");
  const std::uint64_t first = form1.requestNumber;
  readRequest("GET /a HTTP/1.0");
  EXPECT_NE(form1.requestNumber, first);
  const std::uint64_t second = form1.requestNumber;
  readRequest("more of it");
  EXPECT_EQ(form1.requestNumber, second);
}

class RequestParamTest : public SimTest {};

TEST_F(RequestParamTest, AValueStandsBetweenItsNameAndTheNextAmpersandLetterCaseIgnored) {
  form1.requestText = "POST /login.cgi HTTP/1.1\r\nHost: x\r\n\r\nPOP_ACCOUNT=joe&POP_PASSWORD=x&go=1";
  EXPECT_EQ(requestParam("pop_account"), "joe");
  EXPECT_EQ(requestParam("POP_PASSWORD"), "x");
}

TEST_F(RequestParamTest, AValueThatNoAmpersandFollowsCannotBeRead) {
  form1.requestText = "POST /login.cgi HTTP/1.1\r\n\r\nPOP_ACCOUNT=joe&go=1";
  EXPECT_EQ(requestParam("go"), std::nullopt);
}

TEST_F(RequestParamTest, TheFirstOccurrenceWinsWhereverItStands) {
  form1.requestText =
      "POST /x?type=line& HTTP/1.1\r\nReferer: http://h/?item=header&\r\n\r\ntype=body&item=body&";
  EXPECT_EQ(requestParam("type"), "line");
  EXPECT_EQ(requestParam("item"), "header");
}

TEST_F(RequestParamTest, ANameIsFoundInsideALongerName) {
  form1.requestText = "mytype=a&type=b&";
  EXPECT_EQ(requestParam("type"), "a");
}

TEST_F(RequestParamTest, AnEmptyValueIsAValue) {
  form1.requestText = "a=&b=1&";
  EXPECT_EQ(requestParam("a"), "");
}

TEST_F(RequestParamTest, ValuesAreNotDecoded) {
  form1.requestText = "a=b+c%40d%26&";
  EXPECT_EQ(requestParam("a"), "b+c%40d%26");
}

TEST_F(RequestParamTest, AnAmpersandBeforeTheNameDoesNotEndTheValue) {
  form1.requestText = "x=1&name=2&";
  EXPECT_EQ(requestParam("name"), "2");
}

TEST_F(RequestParamTest, AnAbsentNameGivesTheTextBehindItsLengthUpToTheFirstAmpersand) {
  form1.requestText = "0123456789&more&";
  EXPECT_EQ(requestParam("abcd"), "456789");
  EXPECT_EQ(requestParam("abcdefghij"), "");
}

TEST_F(RequestParamTest, AnAbsentNameGivesNothingWhereTheFirstAmpersandComesTooEarly) {
  form1.requestText = "012&3456789";
  EXPECT_EQ(requestParam("abc"), "");
  EXPECT_EQ(requestParam("abcd"), std::nullopt);
}

TEST_F(RequestParamTest, AnAbsentNameAndNoAmpersandGiveNothing) {
  form1.requestText = "0123456789";
  EXPECT_EQ(requestParam("a"), std::nullopt);
  form1.requestText = "";
  EXPECT_EQ(requestParam("a"), std::nullopt);
}

TEST(FirstParamValue, IsTheFirstValueWhateverItsName) {
  EXPECT_EQ(firstParamValue("displayemail.cgi?id=12&s=AB"), "12");
  EXPECT_EQ(firstParamValue("displayemail.cgi?id=12"), "12");
  EXPECT_EQ(firstParamValue("displayemail.cgi?id=&s=AB"), "");
  EXPECT_EQ(firstParamValue("a&b=c"), "c");
  EXPECT_EQ(firstParamValue("a=b=c&"), "b=c");
}

TEST(FirstParamValue, IsEmptyWithoutASeparator) {
  EXPECT_EQ(firstParamValue("displayemail.cgi"), "");
  EXPECT_EQ(firstParamValue("displayemail.cgi?a&b"), "");
  EXPECT_EQ(firstParamValue("x="), "");
}

TEST(FirstParamValue, TakesOtherSeparators) {
  EXPECT_EQ(firstParamValue("a:b;c", ":", ";"), "b");
}

TEST(FormField, IsTheValueOfTheFirstFieldWithExactlyThatName) {
  EXPECT_EQ(formField("list=EnemyList&box=spam&box=inbox", "box"), "spam");
  EXPECT_EQ(formField("inbox=1&Box=2&box&box=", "box"), "");
  EXPECT_EQ(formField("a=b=c%26", "a"), "b=c%26");
  EXPECT_EQ(formField("a=1", "b"), std::nullopt);
  EXPECT_EQ(formField("", "a"), std::nullopt);
}

TEST(FormField, OfAQueryIsDecoded) {
  EXPECT_EQ(queryValue("preview.htm?b=spam&k=a+b%26c&s=X", "k"), "a b&c");
  EXPECT_EQ(queryValue("preview.htm?k=", "k"), "");
  EXPECT_EQ(queryValue("k=1", "k"), "") << "a path without a query has no parameters";
}

TEST(JoinedPieces, StandBetweenEncodedLineFeeds) {
  EXPECT_THAT(joinedPieces("a%0A%0Ab%0a%0A"), testing::ElementsAre("a", "", "b%0a"));
  EXPECT_THAT(joinedPieces(""), testing::IsEmpty());
}

}  // namespace
}  // namespace vornelle
