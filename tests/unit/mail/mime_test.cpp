#include "mail/mime.h"

#include <gtest/gtest.h>

namespace vornelle {
namespace {

std::string plainOf(const std::string& source) {
  const TextParts parts = findTextParts(source);
  return parts.plain ? parts.plain->text() : "(none)";
}
std::string htmlOf(const std::string& source) {
  const TextParts parts = findTextParts(source);
  return parts.html ? parts.html->text() : "(none)";
}

// ---- Content-Type ----

TEST(ContentType, TypeAndParametersAreRead) {
  const ContentType type = parseContentType("Text/HTML; Charset=\"utf-8\"; boundary = abc");
  EXPECT_EQ("text/html", type.type);
  EXPECT_EQ("utf-8", type.charset);
  EXPECT_EQ("abc", type.boundary);
}

TEST(ContentType, QuotesHoldWhatWouldEndAValue) {
  EXPECT_EQ("a;b \"c\\", parseContentType("multipart/mixed; boundary=\"a;b \\\"c\\\\\"").boundary);
}

TEST(ContentType, CommentsArePassedOver) {
  const ContentType type = parseContentType("text/plain (plain (text)); charset=(the set) utf-8 (it is)");
  EXPECT_EQ("text/plain", type.type);
  EXPECT_EQ("utf-8", type.charset);
}

TEST(ContentType, WithoutOneAndForABrokenOneItIsPlainText) {
  EXPECT_EQ("text/plain", parseContentType(std::nullopt).type);
  for (const char* field : {"", "text", "/", "text/", "/plain", ";charset=utf-8"}) {
    EXPECT_EQ("text/plain", parseContentType(field).type) << field;
  }
  EXPECT_EQ("utf-8", parseContentType(";charset=utf-8").charset);
}

TEST(ContentType, BrokenParametersArePassedOver) {
  EXPECT_EQ("utf-8", parseContentType("text/plain; ; x; =y; ;;charset=utf-8; \"").charset);
  EXPECT_EQ("", parseContentType("text/plain; charset").charset);
  EXPECT_EQ("abc", parseContentType("multipart/mixed; boundary=\"abc").boundary);
}

// ---- single parts ----

TEST(Mime, AMessageWithoutTypeIsPlainText) {
  EXPECT_EQ("Hi\r\n", plainOf("From: a@b\r\n\r\nHi\r\n"));
  EXPECT_EQ("(none)", htmlOf("From: a@b\r\n\r\nHi\r\n"));
}

TEST(Mime, TransferEncodingsAreDecoded) {
  EXPECT_EQ(
      "gr\xFC\xDF"
      "e",
      plainOf("Content-Type: text/plain; charset=utf-8\r\nContent-Transfer-Encoding: "
              "Quoted-Printable\r\n\r\ngr=C3=BC=C3=\r\n=9Fe"));
  EXPECT_EQ("<b>\xFC</b>", htmlOf("Content-Type: text/html; charset=utf-8\r\nContent-Transfer-Encoding: "
                                  "base64 (yes)\r\n\r\nPGI+w7w8\r\nL2I+\r\n"));
  EXPECT_EQ("=41", plainOf("Content-Transfer-Encoding: 8bit\r\n\r\n=41"));
  EXPECT_EQ("=41", plainOf("Content-Transfer-Encoding: unheard-of\r\n\r\n=41"));
}

TEST(Mime, ABodyInAnUnknownCharacterSetIsReadLikeAnUnlabelledOne) {
  EXPECT_EQ("\xFC", plainOf("Content-Type: text/plain; charset=klingon\r\n\r\n\xC3\xBC"));
  EXPECT_EQ("\xFC", plainOf("\r\n\xFC"));
}

TEST(Mime, AnAttachmentIsNoText) {
  EXPECT_EQ("(none)",
            plainOf("Content-Type: text/plain\r\nContent-Disposition: attachment; filename=x.txt\r\n\r\nHi"));
  EXPECT_EQ("(none)", plainOf("Content-Disposition: unheard-of\r\n\r\nHi"));
  EXPECT_EQ("Hi", plainOf("Content-Disposition: inline; filename=x.txt\r\n\r\nHi"));
}

// ---- multiparts ----

std::string multipart(const std::string& subtype, const std::string& boundary,
                      const std::vector<std::string>& parts) {
  std::string result =
      "Content-Type: multipart/" + subtype + "; boundary=\"" + boundary + "\"\r\n\r\npreamble\r\n";
  for (const std::string& part : parts) result += "--" + boundary + "\r\n" + part + "\r\n";
  return result + "--" + boundary + "--\r\nepilogue\r\n";
}
const std::string kPlain = "Content-Type: text/plain\r\n\r\nplain";
const std::string kHtml = "Content-Type: text/html\r\n\r\n<p>html</p>";
const std::string kAttached = "Content-Disposition: attachment\r\n\r\nattached";

TEST(Mime, BothFormsOfAnAlternativeAreFound) {
  const std::string source = multipart("alternative", "b", {kPlain, kHtml});
  EXPECT_EQ("plain", plainOf(source));
  EXPECT_EQ("<p>html</p>", htmlOf(source));
}

TEST(Mime, OfEachKindTheFirstThatIsNoAttachmentCounts) {
  const std::string source = multipart("mixed", "b", {kAttached, kPlain, "\r\nlater", kHtml, kHtml + "2"});
  EXPECT_EQ("plain", plainOf(source));
  EXPECT_EQ("<p>html</p>", htmlOf(source));
}

TEST(Mime, PartsAreFoundInAnyNesting) {
  std::string source = multipart("alternative", "b0", {kPlain, kHtml});
  for (int i = 1; i < 20; ++i) {
    // Boundaries that start alike are different ones.
    source =
        multipart("mixed", "b" + std::to_string(i), {"Content-Type: image/png\r\n\r\nx", source, kAttached});
  }
  EXPECT_EQ("plain", plainOf(source));
  EXPECT_EQ("<p>html</p>", htmlOf(source));
}

TEST(Mime, WhatComesAfterAnInnerMultipartIsFound) {
  const std::string inner = multipart("related", "in", {"Content-Type: image/png\r\n\r\nx", kAttached});
  EXPECT_EQ("plain", plainOf(multipart("mixed", "out", {inner, kPlain})));
}

TEST(Mime, AnInnerMultipartThatIsNotClosedEndsWhereTheOuterOneGoesOn) {
  const std::string inner =
      "Content-Type: multipart/mixed; boundary=in\r\n\r\n--in\r\nContent-Type: image/png\r\n\r\nx";
  EXPECT_EQ("plain", plainOf(multipart("mixed", "out", {inner, kPlain})));
}

TEST(Mime, AMultipartThatIsCutGivesWhatThereIs) {
  EXPECT_EQ("plain\r\nmore",
            plainOf("Content-Type: multipart/mixed; boundary=b\r\n\r\n--b\r\n\r\nplain\r\nmore"));
}

TEST(Mime, AnAttachedMultipartIsNotLookedInto) {
  const std::string inner = "Content-Disposition: attachment\r\n" + multipart("mixed", "in", {kPlain});
  EXPECT_EQ("later", plainOf(multipart("mixed", "out", {inner, "\r\nlater"})));
}

TEST(Mime, TheTextOfAMessageInsideAMessageCountsWhereThereIsNoOther) {
  const std::string forwarded = "Content-Type: message/rfc822\r\n\r\nFrom: x@y\r\n\r\nforwarded";
  EXPECT_EQ("plain", plainOf(multipart("mixed", "b", {forwarded, kPlain})));
  EXPECT_EQ("forwarded", plainOf(multipart("digest", "b", {"\r\nFrom: x@y\r\n\r\nforwarded"})));
}

TEST(Mime, ALineThatOnlyLooksLikeABoundaryIsText) {
  EXPECT_EQ("--bc\r\n--b x\r\n --b\r\n-- b\r\n--",
            plainOf("Content-Type: multipart/mixed; boundary=b\r\n\r\n--b\r\n\r\n--bc\r\n--b x\r\n --b\r\n-- "
                    "b\r\n--\r\n--b--\r\n"));
}

TEST(Mime, ABoundaryMayHaveBlanksBehindIt) {
  EXPECT_EQ("plain",
            plainOf("Content-Type: multipart/mixed; boundary=b\r\n\r\n--b \t\r\n\r\nplain\r\n--b-- \r\n"));
}

TEST(Mime, LineFeedsAloneSeparatePartsToo) {
  EXPECT_EQ("plain", plainOf("Content-Type: multipart/mixed; boundary=b\n\n--b\n\nplain\n--b--\n"));
}

TEST(Mime, AnEmptyPartIsEmpty) {
  EXPECT_EQ("",
            plainOf("Content-Type: multipart/mixed; boundary=b\r\n\r\n--b\r\n--b\r\n\r\nlater\r\n--b--\r\n"));
  EXPECT_EQ("", plainOf("Content-Type: multipart/mixed; boundary=b\r\n\r\n--b\r\n\r\n--b--\r\n"));
}

TEST(Mime, AMultipartWithoutBoundaryHasNoParts) {
  const std::string source = "Content-Type: multipart/mixed\r\n\r\n--b\r\n\r\nplain\r\n--b--\r\n";
  EXPECT_EQ("(none)", plainOf(source));
  EXPECT_EQ("(none)", htmlOf(source));
}

TEST(Mime, EndlessNestingIsNotFollowed) {
  std::string source;
  for (int i = 0; i < 100'000; ++i) {
    const std::string boundary = "b" + std::to_string(i);
    source += "Content-Type: multipart/mixed; boundary=" + boundary + "\r\n\r\n--" + boundary + "\r\n";
  }
  EXPECT_EQ("(none)", plainOf(source + "\r\nplain"));
}

// Quadratic work would take minutes here.
TEST(Mime, HostileStructureTakesLinearTime) {
  constexpr std::size_t kLength = 4U << 20;
  for (const std::string piece :
       {"--b\r\n", "--b\r\nX: y\r\n", "--b\r\n\r\n", "--b--\r\n", "--", "--b", "X: y\r\n", "\r\n"}) {
    std::string source = "Content-Type: multipart/mixed; boundary=b\r\n\r\n";
    while (source.size() < kLength) source += piece;
    static_cast<void>(findTextParts(source));
  }
  for (const std::string piece : {"(", ";", "\"", "\\", "; a=b", "x"}) {
    std::string field = "text/plain; charset=\"utf-8\" ";
    while (field.size() < kLength) field += piece;
    EXPECT_EQ("utf-8", parseContentType(field).charset);
  }
  const std::string longBoundary(kLength, 'b');
  static_cast<void>(
      findTextParts("Content-Type: multipart/mixed; boundary=" + longBoundary + "\r\n\r\n--" + longBoundary));
}

TEST(Attachments, AreToldByNameTypeAndSize) {
  const std::string source =
      "Content-Type: multipart/mixed; boundary=b\r\n\r\n--b\r\n\r\nwords\r\n"
      "--b\r\nContent-Type: application/pdf\r\nContent-Transfer-Encoding: base64\r\n"
      "Content-Disposition: attachment; filename=\"C:\\\\x\\\\bill.pdf\"\r\n\r\nQUJD\r\nREVG\r\n"
      "--b\r\nContent-Type: image/png; name*=UTF-8''na%C3%AFve.png\r\n\r\nabcd\r\n"
      "--b\r\nContent-Type: application/zip; name=\"=?utf-8?q?=C3=BCber.zip?=\"\r\n\r\n\r\n"
      "--b\r\nContent-Type: application/x-nameless\r\n\r\nx\r\n--b--\r\n";
  const TextParts parts = findTextParts(source);
  ASSERT_TRUE(parts.plain);
  ASSERT_EQ(parts.attachments.size(), 4u);
  EXPECT_EQ(parts.attachments[0].name, "bill.pdf");
  EXPECT_EQ(parts.attachments[0].type, "application/pdf");
  EXPECT_EQ(parts.attachments[0].bytes, 6u);
  EXPECT_EQ(parts.attachments[1].name, "na\xEFve.png");
  EXPECT_EQ(parts.attachments[1].bytes, 4u);
  EXPECT_EQ(parts.attachments[2].name,
            "\xFC"
            "ber.zip");
  EXPECT_EQ(parts.attachments[3].name, "");
  EXPECT_EQ(parts.attachments[3].type, "application/x-nameless");
}

TEST(Attachments, ALongNameIsCutBetweenCharacters) {
  std::string word = "=?utf-8?q?";
  for (int i = 0; i < 100; ++i) word += "=D0=BF";
  const std::string source = "Content-Type: image/png; name=\"" + word + "?=\"\r\n\r\nx\r\n";
  const TextParts parts = findTextParts(source);
  ASSERT_EQ(parts.attachments.size(), 1u);
  EXPECT_EQ(parts.attachments[0].name.size(), 42 * std::string("&#1087;").size());
  EXPECT_TRUE(parts.attachments[0].name.ends_with(';'));
}

TEST(Attachments, OfAMessageWithoutAnyAreNone) {
  EXPECT_TRUE(findTextParts("Subject: x\r\n\r\nwords\r\n").attachments.empty());
}

}  // namespace
}  // namespace vornelle
