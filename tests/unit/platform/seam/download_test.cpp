#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <string>
#include <thread>

#include "platform/download.h"
#include "tests/unit/platform/seam/script_server.h"

namespace vornelle {
namespace {

using testing::StartsWith;

// What a download from a server with this answer brings.
std::string download(const std::string& answer, std::string* request = nullptr) {
  std::string asked;
  std::string body;
  {
    ScriptServer server([&](native::Socket connection) {
      asked = readUntil(connection, "\r\n\r\n");
      sendAll(connection, answer);
    });
    body = downloadUrl("http://127.0.0.1:" + std::to_string(server.port) + "/message.txt");
  }
  if (request) *request = asked;
  return body;
}

TEST(DownloadTest, TheBodyOfAnOrdinaryAnswerIsBrought) {
  std::string request;
  EXPECT_EQ(download("HTTP/1.1 200 OK\r\nContent-Type: text/plain\r\n\r\nNews\r\n\r\nof today", &request),
            "News\r\n\r\nof today");
  EXPECT_THAT(request, StartsWith("GET /message.txt HTTP/1."));
  EXPECT_THAT(request, testing::HasSubstr("\r\nUser-Agent: VB OpenUrl\r\n"));
}

TEST(DownloadTest, TheBodyIsBroughtWhateverTheStatus) {
  for (const char* status : {"404 Not Found", "500 Internal Server Error", "302 Found", "201 Created"}) {
    const std::string line = "HTTP/1.0 " + std::string(status) + "\r\n";
    EXPECT_EQ(download(line + "Content-Length: 6\r\n\r\nan end"), "an end") << status;
  }
}

TEST(DownloadTest, AnAnswerInChunksIsPutTogether) {
  const std::string header = "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n";
  EXPECT_EQ(download(header + "5\r\nNews \r\n8;x=y\r\nof today\r\n0\r\n\r\n"), "News of today");
  EXPECT_EQ(download(header + "5\r\nNews \r\n8\r\nof"), "News of") << "what arrived before the end";
  EXPECT_EQ(download(header + "1E\r\n" + std::string(30, 'x') + "\r\n0\r\n\r\n"), std::string(30, 'x'));
}

TEST(DownloadTest, NobodyThereBringsNothing) {
  EXPECT_EQ(downloadUrl("http://127.0.0.1:" + std::to_string(freePort()) + "/"), "");
  EXPECT_EQ(downloadUrl("http://" + nameOfNobody() + "/"), "");
  EXPECT_EQ(downloadUrl(""), "");
}

TEST(DownloadTest, ARedirectionIsNotFollowed) {
  bool reached = false;
  {
    ScriptServer other([&](native::Socket connection) {
      reached = !readUntil(connection, "\r\n\r\n").empty();
      sendAll(connection, "HTTP/1.0 200 OK\r\n\r\nelsewhere");
    });
    const std::string body =
        download("HTTP/1.0 302 Found\r\nLocation: http://127.0.0.1:" + std::to_string(other.port) +
                 "/\r\nContent-Length: 0\r\n\r\n");
    EXPECT_EQ(body, "") << "it has none of its own";
  }
  EXPECT_FALSE(reached);
}

TEST(DownloadTest, WhatArrivedBeforeTheConnectionEndedIsKept) {
  EXPECT_EQ(download("HTTP/1.0 200 OK\r\nContent-Length: 100\r\n\r\nNe"), "Ne");
}

TEST(DownloadTest, AtMost64KiBAreBrought) {
  EXPECT_EQ(download("HTTP/1.0 200 OK\r\n\r\n" + std::string(1000000, 'x')).size(), 64u * 1024);
}

// A server that never comes to its end, as long as the test lasts.
void neverEnds(const std::atomic<bool>& over, const std::function<void()>& meanwhile) {
  while (!over) {
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    meanwhile();
  }
}

TEST(DownloadTest, TwoSecondsAreAllThereIs) {
  std::atomic<bool> over = false;
  ScriptServer server([&](native::Socket connection) {
    sendAll(connection, "HTTP/1.0 200 OK\r\n\r\nfirst");
    neverEnds(over, [] {});
  });
  const std::int64_t start = monotonicMilliseconds();
  EXPECT_EQ(downloadUrl("http://127.0.0.1:" + std::to_string(server.port) + "/"), "first");
  EXPECT_GE(monotonicMilliseconds() - start, 1900);
  EXPECT_LT(monotonicMilliseconds() - start, 3500);
  over = true;
}

TEST(DownloadTest, ASlowServerGetsNoMoreThanTwoSecondsEither) {
  std::atomic<bool> over = false;
  ScriptServer server([&](native::Socket connection) {
    sendAll(connection, "HTTP/1.0 200 OK\r\n\r\n");
    neverEnds(over, [connection] { sendAll(connection, "."); });
  });
  const std::int64_t start = monotonicMilliseconds();
  EXPECT_THAT(downloadUrl("http://127.0.0.1:" + std::to_string(server.port) + "/"), StartsWith("....."));
  EXPECT_LT(monotonicMilliseconds() - start, 3500);
  over = true;
}

}  // namespace
}  // namespace vornelle
