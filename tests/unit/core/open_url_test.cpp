#include "core/open_url.h"

#include "tests/unit/core/fixture.h"

namespace vornelle {
namespace {

using OpenUrl = FreshProgram;
constexpr const char* kUrl = "http://vornelle.example/message.txt";

TEST_F(OpenUrl, StoresTheBodyAsRawBytes) {
  const std::string body("line\nline\r\n\x80\0\xFF end", 19);
  sim::shell().downloads[kUrl] = body;
  openUrl(kUrl, pathOf("message.txt"));
  EXPECT_EQ(contentOf("message.txt"), body);
  EXPECT_THAT(sim::shell().downloadedUrls, testing::ElementsAre(kUrl));
}

TEST_F(OpenUrl, ReplacesAnEarlierFile) {
  put("message.txt", "a much longer text of an earlier day");
  sim::shell().downloads[kUrl] = "new";
  openUrl(kUrl, pathOf("message.txt"));
  EXPECT_EQ(contentOf("message.txt"), "new");
}

TEST_F(OpenUrl, AServerThatCannotBeReachedLeavesAnEmptyFile) {
  put("message.txt", "earlier");
  openUrl(kUrl, pathOf("message.txt"));
  EXPECT_TRUE(fileExists(pathOf("message.txt")));
  EXPECT_EQ(contentOf("message.txt"), "");
}

TEST_F(OpenUrl, WhereNothingCanBeWrittenTheEarlierTextIsGoneAllTheSame) {
  put("message.txt", "earlier");
  sim::shell().downloads[kUrl] = "new";
  sim::failWritesTo("message.txt");
  openUrl(kUrl, pathOf("message.txt"));
  EXPECT_FALSE(fileExists(pathOf("message.txt")));
}

}  // namespace
}  // namespace vornelle
