#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "platform/download.h"
#include "tests/unit/platform/seam/script_server.h"

namespace vornelle {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

class PosixDownloadTest : public testing::Test {
 protected:
  PosixDownloadTest() { clearProxy(); }
  ~PosixDownloadTest() override { clearProxy(); }

  static void clearProxy() {
    unsetenv("http_proxy");
    unsetenv("no_proxy");
  }

  // What a download from a server with this answer brings.
  std::string download(const std::string& answer) {
    ScriptServer server([&](native::Socket connection) {
      request = readUntil(connection, "\r\n\r\n");
      sendAll(connection, answer);
    });
    return downloadUrl("http://127.0.0.1:" + std::to_string(server.port) + "/message.txt");
  }

  std::string request;
};

TEST_F(PosixDownloadTest, TheBodyOfAnOrdinaryAnswerIsBrought) {
  EXPECT_EQ(download("HTTP/1.1 200 OK\r\nContent-Type: text/plain\r\n\r\nNews\r\n\r\nof today"),
            "News\r\n\r\nof today");
  EXPECT_THAT(request, StartsWith("GET /message.txt HTTP/1.0\r\nHost: 127.0.0.1:"));
  EXPECT_THAT(request, HasSubstr("\r\nUser-Agent: VB OpenUrl\r\n"));
  EXPECT_THAT(request, HasSubstr("\r\nPragma: no-cache\r\n"));
}

TEST_F(PosixDownloadTest, BareLineFeedsEndAHeaderToo) {
  EXPECT_EQ(download("HTTP/1.0 200 OK\n\nNews"), "News");
}

TEST_F(PosixDownloadTest, ContentLengthEndsTheBody) {
  EXPECT_EQ(download("HTTP/1.0 200 OK\r\ncontent-length: 4\r\n\r\nNews and more"), "News");
  EXPECT_EQ(download("HTTP/1.0 200 OK\r\nContent-Length: 0\r\n\r\nNews"), "");
}

TEST_F(PosixDownloadTest, OtherEncodingsOfTheTransferAreNotLookedInto) {
  EXPECT_EQ(download("HTTP/1.1 200 OK\r\ntransfer-encoding: CHUNKED\r\n\r\n2\r\nhi\r\n0\r\n\r\n"), "hi");
  EXPECT_EQ(download("HTTP/1.1 200 OK\r\nTransfer-Encoding: gzip\r\n\r\n2\r\nhi"), "2\r\nhi");
  EXPECT_EQ(download("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\nno chunk\r\nhi"), "");
}

TEST_F(PosixDownloadTest, WhatIsNoAnswerBringsNothing) {
  EXPECT_EQ(download("no HTTP at all"), "");
  EXPECT_EQ(download("HTTP/1.0 200 OK\r\nHeader: without an end\r\n"), "");
  EXPECT_EQ(download(""), "");
}

TEST_F(PosixDownloadTest, AHeaderWithoutEndIsGivenUp) {
  EXPECT_EQ(download("HTTP/1.0 200 OK\r\nX: " + std::string(1000000, 'x')), "");
}

TEST_F(PosixDownloadTest, TheProxyIsAskedForTheWholeAddress) {
  ScriptServer proxy([&](native::Socket connection) {
    request = readUntil(connection, "\r\n\r\n");
    sendAll(connection, "HTTP/1.0 200 OK\r\n\r\nthrough the proxy");
  });
  setenv("http_proxy", ("http://127.0.0.1:" + std::to_string(proxy.port) + "/").c_str(), 1);
  EXPECT_EQ(downloadUrl("http://vornelle.example:8080/message.txt?x=1#part"), "through the proxy");
  EXPECT_THAT(
      request,
      StartsWith(
          "GET http://vornelle.example:8080/message.txt?x=1 HTTP/1.0\r\nHost: vornelle.example:8080\r\n"));
}

TEST_F(PosixDownloadTest, ExcludedHostsAreAskedWithoutTheProxy) {
  setenv("http_proxy", ("127.0.0.1:" + std::to_string(freePort())).c_str(), 1);
  EXPECT_EQ(download("HTTP/1.0 200 OK\r\n\r\nNews"), "");
  setenv("no_proxy", "example.org, 127.0.0.1", 1);
  EXPECT_EQ(download("HTTP/1.0 200 OK\r\n\r\nNews"), "News");
  setenv("no_proxy", "*", 1);
  EXPECT_EQ(download("HTTP/1.0 200 OK\r\n\r\nNews"), "News");
  setenv("no_proxy", "0.0.1,7.0.0.1", 1);
  EXPECT_EQ(download("HTTP/1.0 200 OK\r\n\r\nNews"), "News") << "a whole label of the name excludes it";
  setenv("no_proxy", "7.0.0.1", 1);
  EXPECT_EQ(download("HTTP/1.0 200 OK\r\n\r\nNews"), "") << "half a label does not";
}

TEST_F(PosixDownloadTest, AddressesThatAreNoneBringNothing) {
  for (const char* url : {"", "message.txt", "https://127.0.0.1/", "ftp://127.0.0.1/", "http://", "http:///x",
                          "http://127.0.0.1:0/", "http://127.0.0.1:99999/", "http://127.0.0.1:x/",
                          "http://127.0.0.1/a b", "http://127.0.0.1/\r\nHost: other"}) {
    EXPECT_EQ(downloadUrl(url), "") << url;
  }
  EXPECT_EQ(downloadUrl("http://127.0.0.1:" + std::to_string(freePort()) + "/"), "");
  EXPECT_EQ(downloadUrl("http://" + nameOfNobody() + "/"), "");
}

}  // namespace
}  // namespace vornelle
