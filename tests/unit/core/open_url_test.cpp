#include "core/form1.h"

#include "tests/unit/support.h"

namespace vornelle {
namespace {

using OpenUrl = SimTest;
constexpr const char* kUrl = "http://vornelle.example/message.txt";

TEST_F(OpenUrl, StoresTheBodyAsRawBytes) {
  const std::string body("line\nline\r\n\x80\0\xFF end", 18);
  sim::shell().downloads[kUrl] = body;
  openUrl(kUrl, inFolder("\\message.txt"));
  EXPECT_EQ(contentOf("\\message.txt"), body);
  EXPECT_THAT(sim::shell().downloadedUrls, testing::ElementsAre(kUrl));
}

TEST_F(OpenUrl, ReplacesAnEarlierFile) {
  makeFile("\\message.txt", "a much longer text of an earlier day");
  sim::shell().downloads[kUrl] = "new";
  openUrl(kUrl, inFolder("\\message.txt"));
  EXPECT_EQ(contentOf("\\message.txt"), "new");
}

TEST_F(OpenUrl, AServerThatCannotBeReachedLeavesAnEmptyFile) {
  makeFile("\\message.txt", "earlier");
  openUrl(kUrl, inFolder("\\message.txt"));
  EXPECT_TRUE(fileExists(inFolder("\\message.txt")));
  EXPECT_EQ(contentOf("\\message.txt"), "");
}

TEST_F(OpenUrl, WhereNothingCanBeWrittenTheEarlierTextIsGoneAllTheSame) {
  makeFile("\\message.txt", "earlier");
  sim::shell().downloads[kUrl] = "new";
  sim::failWritesTo("message.txt");
  openUrl(kUrl, inFolder("\\message.txt"));
  EXPECT_FALSE(fileExists(inFolder("\\message.txt")));
}

}  // namespace
}  // namespace vornelle
