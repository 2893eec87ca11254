#include "mail/line_stream.h"

#include "platform/net_stream.h"
#include "tests/unit/support.h"

namespace vornelle {
namespace {

// Gives out the bytes in pieces of the same size, then the end of the stream.
class Pieces : public NetStream {
 public:
  Pieces(std::string bytes, std::size_t piece, std::shared_ptr<std::size_t> read = {})
      : bytes_(std::move(bytes)), piece_(piece), read_(std::move(read)) {}

  [[nodiscard]] std::optional<std::size_t> read(char* buffer, std::size_t size, int /*timeout*/) override {
    const std::size_t count = std::min({size, piece_, bytes_.size() - position_});
    bytes_.copy(buffer, count, position_);
    position_ += count;
    if (read_) *read_ = position_;
    return count;
  }
  [[nodiscard]] bool write(std::string_view bytes, int /*timeout*/) override { return bytes != "broken"; }

 private:
  std::string bytes_;
  std::size_t piece_, position_ = 0;
  std::shared_ptr<std::size_t> read_;  // told how many bytes have been given out
};

constexpr std::size_t kUnlimited = 1U << 30;

class LineStreamTest : public SimTest {
 protected:
  std::optional<LineStream> line;

  void open(const std::string& bytes, std::size_t piece = 1U << 20) {
    line.emplace(std::make_unique<Pieces>(bytes, piece), 1000);
  }
  std::string readText(std::size_t limit = kUnlimited) {
    std::string text;
    const bool whole = line->readText(limit, [&](std::string_view piece) { text += piece; });
    return whole ? text : "(failed)";
  }
  // What comes of the text after a status line, and then of the line behind it, however the bytes arrive.
  void expectText(const std::string& expected, const std::string& wire, const std::string& lineEnd = "\r\n") {
    for (std::size_t piece = 1; piece <= wire.size() + 4; ++piece) {
      open("+OK" + lineEnd + wire + "+OK next" + lineEnd, piece);
      EXPECT_EQ("+OK", line->readLine());
      EXPECT_EQ(expected, readText()) << piece;
      EXPECT_EQ("+OK next", line->readLine()) << piece;
    }
  }
};

TEST_F(LineStreamTest, LinesComeWithoutTheirEnds) {
  open("a\r\nb\n\r\nc\rd\r\r\nlast");
  EXPECT_EQ("a", line->readLine());
  EXPECT_EQ("b", line->readLine());
  EXPECT_EQ("", line->readLine());
  EXPECT_EQ("c\rd\r", line->readLine());
  EXPECT_EQ(std::nullopt, line->readLine()) << "the line was cut";
  EXPECT_FALSE(line->alive());
}

TEST_F(LineStreamTest, ATextEndsAtTheLineWithALoneDot) {
  expectText("", ".\r\n");
  expectText("a\r\n", "a\r\n.\r\n");
  expectText("\r\n\r\n", "\r\n\r\n.\r\n");
}

TEST_F(LineStreamTest, StuffedDotsGoAndOthersStay) {
  expectText(".\r\n..\r\n.a\r\n", "..\r\n...\r\n..a\r\n.\r\n");
  expectText(".a\r\na.\r\n. \r\n", ".a\r\na.\r\n. \r\n.\r\n");
}

TEST_F(LineStreamTest, OnlyCrLfEndsALineOfAText) {
  expectText("a\n.\nb\r.\rc\n.\r\nd\r\n", "a\n.\nb\r.\rc\n.\r\nd\r\n.\r\n");
  expectText(".\ra\r\n", ".\ra\r\n.\r\n");
  expectText(".\r\r\n", ".\r\r\n.\r\n");
  expectText("a\r\r\n", "a\r\r\n.\r\n");
  expectText(".\n\r\n", ".\n\r\n.\r\n");
}

TEST_F(LineStreamTest, AServerThatEndsItsLinesWithLineFeedsMayEndATextSo) {
  expectText("a\n.b\r\n.\n", "a\n..b\r\n..\n.\n", "\n");
  expectText("a\n", "a\n.\r\n", "\n");
}

TEST_F(LineStreamTest, ATextThatIsCutIsNotWhole) {
  const std::string wire = "a\r\n..b\r\n.\r\n";
  for (std::size_t cut = 0; cut < wire.size(); ++cut) {
    open(wire.substr(0, cut));
    EXPECT_EQ("(failed)", readText()) << cut;
    EXPECT_FALSE(line->alive());
  }
}

TEST_F(LineStreamTest, ATextLongerThanTheLimitKillsTheStream) {
  open("12345\r\n.\r\n");
  EXPECT_EQ("12345\r\n", readText(7));
  open("12345\r\n.\r\n");
  EXPECT_EQ("(failed)", readText(6));
  EXPECT_FALSE(line->alive());
  // At once: a server that never ends the text is not read on.
  const auto read = std::make_shared<std::size_t>(0);
  line.emplace(std::make_unique<Pieces>(std::string(100'000, 'x'), 10, read), 1000);
  EXPECT_EQ("(failed)", readText(100));
  EXPECT_LT(*read, 200U);
}

TEST_F(LineStreamTest, ALineLongerThanTheLimitKillsTheStream) {
  open(std::string(kLongestAnswerLine, 'x') + "\n", 1000);
  EXPECT_EQ(kLongestAnswerLine, line->readLine().value_or("").size());
  open(std::string(kLongestAnswerLine + 1, 'x') + "\n", 1000);
  EXPECT_EQ(std::nullopt, line->readLine());
  EXPECT_FALSE(line->alive());
}

TEST_F(LineStreamTest, ADeadStreamDoesNothing) {
  open("a\r\nb\r\n");
  EXPECT_EQ("a", line->readLine());
  EXPECT_TRUE(line->hasUnread());
  EXPECT_FALSE(line->send("broken"));
  EXPECT_FALSE(line->hasUnread());
  EXPECT_FALSE(line->send("x"));
  EXPECT_EQ(std::nullopt, line->readLine());
  EXPECT_EQ("(failed)", readText());
}

TEST_F(LineStreamTest, WithoutAConnectionItIsDead) {
  line.emplace(nullptr, 1000);
  EXPECT_FALSE(line->alive());
  EXPECT_FALSE(line->send("x"));
  EXPECT_EQ(std::nullopt, line->readLine());
}

}  // namespace
}  // namespace vornelle
