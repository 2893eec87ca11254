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

// ---- the start of a message ----

TEST(MessageParser, AHeaderThatEndsInTheStartOfAMessageIsReadAsInTheWhole) {
  for (const std::string text :
       {"From: a@b\r\nSubject: one\r\n two\r\n\r\nFrom: body@x\r\n", "From: a@b\nSubject: s\n\nbody\n",
        "From: a@b\r\n\rSubject: s\r\n\r\nbody", "\r\nFrom: body@x\r\n",
        "From: a@b\r\nno field\r\nSubject: s\r\n", "From old@mail Mon\r\nFrom: a@b\r\n\r\n", "From: a@b"}) {
    const MailMessage whole = parseMessage(text);
    int known = 0;
    for (std::size_t length = 0; length <= text.size(); ++length) {
      const auto start = parseMessageStart(text.substr(0, length), length == text.size());
      if (!start) continue;
      ++known;
      EXPECT_EQ(whole.from, start->from) << text << length;
      EXPECT_EQ(whole.subject, start->subject) << text << length;
    }
    EXPECT_GE(known, 1) << text;
  }
}

TEST(MessageParser, WhatIsNoWholeHeaderYetIsNotRead) {
  EXPECT_FALSE(parseMessageStart("From: a@b\r\n", false));
  EXPECT_FALSE(parseMessageStart("From: a@b\r\n\r", false)) << "the line may go on";
  EXPECT_TRUE(parseMessageStart("From: a@b\r\n\r\n", false));
  EXPECT_TRUE(parseMessageStart("From: a@b\r\n", true));
}

TEST_F(LoadMessage, AHeaderIsReadFromTheFileHoweverLongItIs) {
  for (const std::size_t filling : {0U, 8000U, 8150U, 8192U, 100'000U}) {
    const std::string text =
        "X-Filling: " + std::string(filling, 'x') +
        "\r\nFrom: a@b\r\nSubject: s\r\nDate: Sun, 15 Nov 2026 01:55:00 +0000\r\n\r\nFrom: body\r\n";
    makeFile("\\message.txt", text);
    const auto header = MailComponent::loadMessageFileHeader(inFolder("\\message.txt"));
    const auto whole = MailComponent::loadMessageFile(inFolder("\\message.txt"));
    ASSERT_TRUE(header && whole);
    EXPECT_EQ("a@b", header->getFromAddress()) << filling;
    EXPECT_EQ("s", header->getSubject());
    EXPECT_EQ(whole->getDate(), header->getDate());
    EXPECT_EQ(static_cast<std::int32_t>(text.size()), header->getSize());
    EXPECT_EQ("", header->getRawText());
  }
}

TEST_F(LoadMessage, AHeaderWithoutEndIsTheWholeFile) {
  makeFile("\\message.txt", "Subject: s\r\n" + std::string(20'000, 'x') + "\r\nFrom: a@b");
  EXPECT_EQ("a@b", MailComponent::loadMessageFileHeader(inFolder("\\message.txt"))->getFromAddress());
  makeFile("\\message.txt", "");
  EXPECT_EQ(0, MailComponent::loadMessageFileHeader(inFolder("\\message.txt"))->getSize());
  EXPECT_FALSE(MailComponent::loadMessageFileHeader(inFolder("\\missing.txt")));
}

}  // namespace
}  // namespace vornelle
