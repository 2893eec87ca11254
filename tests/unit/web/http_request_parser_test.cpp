#include "web/http_request_parser.h"

#include <gtest/gtest.h>

#include <string>

namespace vornelle {
namespace {

using Result = HttpRequestParser::Result;

// What parsing the whole text at once gives.
struct Parsed {
  Result result;
  HttpRequest request;
  int status = 0;
  std::string rest;
};

Parsed parse(std::string text) {
  HttpRequestParser parser;
  Parsed parsed{parser.parse(text), {}, 0, {}};
  parsed.request = parser.request();
  parsed.status = parser.errorStatus();
  parsed.rest = text;
  return parsed;
}

int statusOf(const std::string& text) {
  const Parsed parsed = parse(text);
  return parsed.result == Result::failed ? parsed.status : 0;
}

TEST(HttpRequestParser, ReadsLineFieldsAndBody) {
  const Parsed parsed =
      parse("POST /login.cgi?x=1 HTTP/1.1\r\nHost: localhost:7000\r\nContent-Length: 5\r\n\r\na=1&bNEXT");
  ASSERT_EQ(parsed.result, Result::complete);
  EXPECT_EQ(parsed.request.method, "POST");
  EXPECT_EQ(parsed.request.target, "/login.cgi?x=1");
  EXPECT_EQ(parsed.request.minorVersion, 1);
  EXPECT_EQ(parsed.request.field("host"), "localhost:7000");
  EXPECT_EQ(parsed.request.body, "a=1&b");
  EXPECT_EQ(parsed.rest, "NEXT");
}

TEST(HttpRequestParser, ARequestSplitAtAnyByteReadsTheSame) {
  const std::string text =
      "\r\nPOST /a?b HTTP/1.1\r\nHost: [::1]\r\nContent-Length: 3\r\n\r\nxyzGET / HTTP/1.0\r\n\r\n";
  for (std::size_t split = 0; split <= text.size(); ++split) {
    HttpRequestParser parser;
    std::string buffer;
    int complete = 0;
    for (const std::string& piece : {text.substr(0, split), text.substr(split)}) {
      buffer += piece;
      while (!buffer.empty()) {
        const Result result = parser.parse(buffer);
        ASSERT_NE(result, Result::failed) << split;
        if (result == Result::needMore) break;
        ++complete;
        if (complete == 1) {
          EXPECT_EQ(parser.request().body, "xyz") << split;
        }
        if (complete == 2) {
          EXPECT_EQ(parser.request().target, "/") << split;
        }
      }
    }
    EXPECT_EQ(complete, 2) << split;
  }
}

TEST(HttpRequestParser, ARequestFedByteByByteReadsTheSame) {
  const std::string text = "GET /x HTTP/1.1\r\nHost: a\r\nA: b\r\n\r\n";
  HttpRequestParser parser;
  std::string buffer;
  for (std::size_t i = 0; i < text.size(); ++i) {
    buffer += text[i];
    ASSERT_EQ(parser.parse(buffer), i + 1 == text.size() ? Result::complete : Result::needMore) << i;
  }
  EXPECT_EQ(parser.request().field("A"), "b");
}

TEST(HttpRequestParser, EmptyLinesBeforeTheRequestLineAreSkipped) {
  EXPECT_EQ(parse("\r\n\r\n\nGET / HTTP/1.1\r\n\r\n").result, Result::complete);
}

TEST(HttpRequestParser, BareLineFeedsEndLinesToo) {
  const Parsed parsed = parse("GET / HTTP/1.1\nHost: x\n\n");
  ASSERT_EQ(parsed.result, Result::complete);
  EXPECT_EQ(parsed.request.field("Host"), "x");
}

TEST(HttpRequestParser, AnAbsoluteTargetIsTakenApart) {
  const Parsed parsed = parse("GET http://localhost:7000/index.htm?a HTTP/1.1\r\nHost: other\r\n\r\n");
  ASSERT_EQ(parsed.result, Result::complete);
  EXPECT_EQ(parsed.request.authority, "localhost:7000");
  EXPECT_EQ(parsed.request.target, "/index.htm?a");
  EXPECT_EQ(parse("GET HTTP://[::1] HTTP/1.1\r\n\r\n").request.target, "/");
  EXPECT_EQ(parse("GET http://h?q HTTP/1.1\r\n\r\n").request.target, "/?q");
}

TEST(HttpRequestParser, AFragmentIsDropped) {
  EXPECT_EQ(parse("GET /a#b HTTP/1.1\r\n\r\n").request.target, "/a");
}

TEST(HttpRequestParser, WhatIsNoRequestIs400) {
  for (const char* text : {
           "GET /\r\n\r\n",                                  // no version
           "GET  HTTP/1.1\r\n\r\n",                          // no target
           "GET / HTTP/1.1 \r\n\r\n",                        // blank behind the version
           "GET / http/1.1\r\n\r\n",                         // letter case counts
           "GET / HTTP/11\r\n\r\n",                          //
           "GET / HTTP/1.x\r\n\r\n",                         //
           "GET x HTTP/1.1\r\n\r\n",                         // neither a path nor an address
           "GET * HTTP/1.1\r\n\r\n",                         //
           "GET http:/// HTTP/1.1\r\n\r\n",                  // no authority
           "GET /a\tb HTTP/1.1\r\n\r\n",                     // control character
           "GET /a b HTTP/1.1\r\n\r\n",                      // blank inside the target
           "G@T / HTTP/1.1\r\n\r\n",                         // no token
           "GET / HTTP/1.1\r\nHost : x\r\n\r\n",             // blank before the colon
           "GET / HTTP/1.1\r\nA: b\r\n c\r\n\r\n",           // folded line
           "GET / HTTP/1.1\r\nA\r\n\r\n",                    // no colon
           "GET / HTTP/1.1\r\n: b\r\n\r\n",                  // no name
           "GET / HTTP/1.1\r\nA: b\rc\r\n\r\n",              // bare CR
           "POST / HTTP/1.1\r\nContent-Length: -1\r\n\r\n",  //
           "POST / HTTP/1.1\r\nContent-Length: \r\n\r\n",
           "POST / HTTP/1.1\r\nContent-Length: 1, 1\r\n\r\na",
           "POST / HTTP/1.1\r\nContent-Length: 1\r\nContent-Length: 2\r\n\r\nab",
           "POST / HTTP/1.1\r\nContent-Length: 1\r\nTransfer-Encoding: chunked\r\n\r\na",
           "\x16\x03\x01\x02",  // a TLS greeting, without waiting for more
       }) {
    EXPECT_EQ(statusOf(text), 400) << text;
  }
  EXPECT_EQ(statusOf(std::string("GET / HTTP/1.1\r\nA: \0\r\n\r\n", 24)), 400);
}

TEST(HttpRequestParser, TheSameLengthTwiceIsOneLength) {
  EXPECT_EQ(parse("POST / HTTP/1.1\r\nContent-Length: 1\r\ncontent-length: 1\r\n\r\na").request.body, "a");
}

TEST(HttpRequestParser, ATransferCodingNeedsALengthInstead) {
  EXPECT_EQ(statusOf("POST / HTTP/1.1\r\nTransfer-Encoding: chunked\r\n\r\n0\r\n\r\n"), 411);
}

TEST(HttpRequestParser, AnotherMajorVersionIs505) {
  EXPECT_EQ(statusOf("PRI / HTTP/2.0\r\n\r\n"), 505);
}

TEST(HttpRequestParser, AnUnknownExpectationIs417) {
  EXPECT_EQ(statusOf("GET / HTTP/1.1\r\nExpect: wonders\r\n\r\n"), 417);
}

TEST(HttpRequestParser, AHeaderOf64KiBIsTakenAndOneByteMoreIs431) {
  const std::string start = "GET / HTTP/1.1\r\nA: ";
  const std::string end = "\r\n\r\n";
  const std::string fits = start + std::string(kMaxHeaderBlock - start.size() - end.size(), 'x') + end;
  ASSERT_EQ(fits.size(), kMaxHeaderBlock);
  EXPECT_EQ(parse(fits).result, Result::complete);
  EXPECT_EQ(statusOf(start + "y" + fits.substr(start.size())), 431);
  // Without an end in sight as well, and no sooner than at the limit.
  EXPECT_EQ(parse(start + std::string(kMaxHeaderBlock - start.size(), 'x')).result, Result::needMore);
  EXPECT_EQ(statusOf(start + std::string(kMaxHeaderBlock - start.size() + 1, 'x')), 431);
}

TEST(HttpRequestParser, ARequestLineWithoutEndIs414) {
  EXPECT_EQ(statusOf("GET /" + std::string(kMaxHeaderBlock, 'x')), 414);
}

TEST(HttpRequestParser, ABodyOf8MiBIsTakenAndOneByteMoreIs413) {
  const auto head = [](std::size_t length) {
    return "POST / HTTP/1.1\r\nContent-Length: " + std::to_string(length) + "\r\n\r\n";
  };
  EXPECT_EQ(parse(head(kMaxBody) + std::string(kMaxBody, 'x')).result, Result::complete);
  EXPECT_EQ(statusOf(head(kMaxBody + 1)), 413);
  EXPECT_EQ(statusOf("POST / HTTP/1.1\r\nContent-Length: 99999999999999999999999999\r\n\r\n"), 413);
}

TEST(HttpRequestParser, WantsToBeToldToContinueOnceAndOnlyWhileItsBodyIsMissing) {
  HttpRequestParser parser;
  std::string buffer = "POST / HTTP/1.1\r\nExpect: 100-Continue\r\nContent-Length: 2\r\n\r\n";
  ASSERT_EQ(parser.parse(buffer), Result::needMore);
  EXPECT_TRUE(parser.takeContinueWanted());
  EXPECT_FALSE(parser.takeContinueWanted());
  buffer += "ab";
  ASSERT_EQ(parser.parse(buffer), Result::complete);
  EXPECT_FALSE(parser.takeContinueWanted());

  buffer = "POST / HTTP/1.1\r\nExpect: 100-continue\r\nContent-Length: 2\r\n\r\nab";
  ASSERT_EQ(parser.parse(buffer), Result::complete);
  EXPECT_FALSE(parser.takeContinueWanted());
  // An HTTP/1.0 client does not know the interim answer.
  buffer = "POST / HTTP/1.0\r\nExpect: 100-continue\r\nContent-Length: 2\r\n\r\n";
  ASSERT_EQ(parser.parse(buffer), Result::needMore);
  EXPECT_FALSE(parser.takeContinueWanted());
}

TEST(HttpRequestParser, ListsAreSearchedByTokenWithoutRegardToCase) {
  const HttpRequest request =
      parse("GET / HTTP/1.1\r\nConnection: keep-alive , Close\r\nConnection: x\r\n\r\n").request;
  EXPECT_TRUE(request.listHolds("connection", "close"));
  EXPECT_TRUE(request.listHolds("connection", "X"));
  EXPECT_FALSE(request.listHolds("connection", "clos"));
}

}  // namespace
}  // namespace vornelle
