#include "mail/message_parser.h"

#include "mail/mail_component.h"
#include "tests/unit/support.h"

namespace vornelle {
namespace {

TEST(MessageParser, AllFieldsAreFilled) {
  const std::string text =
      "From: \"=?utf-8?q?B=C3=B6b?=\"\r\n <bob@x.example>\r\nSubject: Hi\r\nDate: Sun, 15 Nov 2026 01:55:00 "
      "+0100\r\n"
      "Content-Type: text/html\r\n\r\n<p>Hi</p>\r\n";
  const MailMessage message = parseMessage(text);
  EXPECT_EQ(
      "\"B\xF6"
      "b\" <bob@x.example>",
      message.getFromAddress());
  EXPECT_EQ(message.getFromAddress(), message.getFromDisplay());
  EXPECT_EQ("Hi", message.getSubject());
  EXPECT_EQ(1794704100, message.getDate());
  EXPECT_EQ(text, message.getRawText());
  EXPECT_EQ(static_cast<std::int32_t>(text.size()), message.getSize());
  EXPECT_TRUE(message.hasHtmlBody());
  EXPECT_FALSE(message.hasPlainBody());
  EXPECT_EQ("<p>Hi</p>\r\n", message.getHtmlBody());
  EXPECT_EQ("", message.getPlainBody());
  EXPECT_EQ("", message.getUidl());
}

TEST(MessageParser, WithoutFieldsEverythingIsEmpty) {
  for (const char* text : {"", "\r\n", "\r\nbody"}) {
    const MailMessage message = parseMessage(text);
    EXPECT_EQ("", message.getFromAddress());
    EXPECT_EQ("", message.getSubject());
    EXPECT_EQ(std::nullopt, message.getDate());
  }
}

TEST(MessageParser, ADateThatCannotBeReadBreaksNothing) {
  const MailMessage message = parseMessage("Date: soon\r\nSubject: x\r\n\r\n");
  EXPECT_EQ(std::nullopt, message.getDate());
  EXPECT_EQ("x", message.getSubject());
}

TEST(MessageParser, TheHeaderAloneGivesSenderSubjectAndDate) {
  const MailMessage message = parseMessageHeader("From: a@b\r\nSubject: x\r\nDate: 1 Jan 1970 00:00 GMT\r\n");
  EXPECT_EQ("a@b", message.getFromAddress());
  EXPECT_EQ("x", message.getSubject());
  EXPECT_EQ(0, message.getDate());
}

TEST(MessageParser, APlainBodyHasCrLfLineEnds) {
  EXPECT_EQ("a\r\nb\r\n\r\nc\r\nd\r\n", parseMessage("Content-Transfer-Encoding: base64\r\n\r\nYQpiDQoNY"
                                                     "w1kCg==")
                                            .getPlainBody());
}

TEST(MessageParser, AnHtmlBodyIsLeftAsItIs) {
  EXPECT_EQ("a\nb\r", parseMessage("Content-Type: text/html\r\n\r\na\nb\r").getHtmlBody());
}

TEST(MessageParser, BodyTextIsThePlainBodyElseTheHtmlBody) {
  EXPECT_EQ("Hi", parseMessage("\r\nHi").getBodyText(0));
  EXPECT_EQ("<p>", parseMessage("Content-Type: text/html\r\n\r\n<p>").getBodyText(0));
}

TEST(MessageParser, BodyTextIsAnotherTextWhereThereIsNoOtherBody) {
  const MailMessage message = parseMessage(
      "Content-Type: text/calendar; charset=utf-8\r\nContent-Transfer-Encoding: base64\r\n\r\nw7wK\r\n");
  EXPECT_FALSE(message.hasPlainBody());
  EXPECT_FALSE(message.hasHtmlBody());
  EXPECT_EQ("\xFC\r\n", message.getBodyText(0));
}

TEST(MessageParser, BodyTextIsTheSourceOfTheBodyWhereThereIsNoText) {
  EXPECT_EQ("AAEC\r\n",
            parseMessage("Content-Type: image/png\r\nContent-Transfer-Encoding: base64\r\n\r\nAAEC\r\n")
                .getBodyText(0));
  EXPECT_EQ("no parts\r\n",
            parseMessage("Content-Type: multipart/mixed; boundary=b\r\n\r\nno parts\n").getBodyText(0));
}

TEST(MessageParser, NulBytesPassThrough) {
  const std::string text("Subject: x\r\n\r\na\0b", 17);
  EXPECT_EQ(std::string("a\0b", 3), parseMessage(text).getPlainBody());
  EXPECT_EQ(text, parseMessage(text).getRawText());
}

class LoadMessage : public SimTest {};

TEST_F(LoadMessage, AFileIsParsedLikeAText) {
  makeFile("\\message.txt", "From: a@b\r\n\r\nHi\r\n");
  const auto message = MailComponent::loadMessageFile(inFolder("\\message.txt"));
  ASSERT_TRUE(message);
  EXPECT_EQ("a@b", message->getFromAddress());
  EXPECT_EQ(17, message->getSize());
}

TEST_F(LoadMessage, AFileWithoutFromHasNoSender) {
  makeFile("\\message.txt", "Subject: x\r\n\r\nFrom: not@me\r\n");
  EXPECT_EQ("", MailComponent::loadMessageFile(inFolder("\\message.txt"))->getFromAddress());
}

TEST_F(LoadMessage, AMissingFileIsReported) {
  EXPECT_FALSE(MailComponent::loadMessageFile(inFolder("\\missing.txt")));
}

}  // namespace
}  // namespace vornelle
