#include "mail/mail_component.h"

#include "core/settings.h"
#include "tests/unit/mail/scripted_pop3.h"
#include "tests/unit/mail/scripted_smtp.h"
#include "tests/unit/support.h"

namespace vornelle {
namespace {

class MailComponentTest : public SimTest {
 protected:
  std::shared_ptr<Pop3Mailbox> mailbox = addPop3Server();
  std::unique_ptr<MailComponent> mail = component();

  static std::unique_ptr<MailComponent> component() {
    auto result = std::make_unique<MailComponent>();
    result->setPopServer("mail.example");
    result->setPopAccount("bob");
    result->setPopPassword("secret");
    return result;
  }

  void deliver(const std::string& uidl, const std::string& text) {
    mailbox->messages.push_back({uidl, text});
  }
};

TEST_F(MailComponentTest, AnEmptyMailboxGivesAListWithoutMessages) {
  ASSERT_TRUE(mail->popConnect());
  const auto list = mail->popGetHeaderList(1);
  ASSERT_TRUE(list);
  EXPECT_EQ(0, list->getCount());
  EXPECT_EQ(nullptr, list->getItem(0));
}

TEST_F(MailComponentTest, TheListHoldsEveryMessageInTheOrderOfTheServer) {
  deliver("id-1",
          "From: Ann <ann@x.example>\r\nSubject: One\r\nDate: Sun, 15 Nov 2026 01:55:00 +0100\r\n\r\nHi\r\n");
  deliver("id-2", "Subject: =?utf-8?q?Zw=C3=B6?=\r\n\r\n");
  ASSERT_TRUE(mail->popConnect());
  const auto list = mail->popGetHeaderList(1);
  ASSERT_TRUE(list);
  ASSERT_EQ(2, list->getCount());
  EXPECT_EQ("Ann <ann@x.example>", list->getItem(0)->getFromAddress());
  EXPECT_EQ("Ann <ann@x.example>", list->getItem(0)->getFromDisplay());
  EXPECT_EQ("One", list->getItem(0)->getSubject());
  EXPECT_EQ(1794704100, list->getItem(0)->getDate());
  EXPECT_EQ("id-1", list->getItem(0)->getUidl());
  EXPECT_EQ(static_cast<std::int32_t>(mailbox->messages[0].text.size()), list->getItem(0)->getSize());
  EXPECT_EQ("", list->getItem(1)->getFromAddress());
  EXPECT_EQ("Zw\xF6", list->getItem(1)->getSubject());
  EXPECT_EQ("id-2", list->getItem(1)->getUidl());
}

TEST_F(MailComponentTest, AMessageIsFetchedWholeAndByteForByte) {
  const std::string text =
      "From: a@b\r\n\r\n.dot\r\n..two\r\n.\r\nbare\nfeed \rreturn\r\n" + std::string("nul\0\r\n", 6);
  deliver("id-1", text);
  ASSERT_TRUE(mail->popConnect());
  const auto message = mail->popGetMessage("id-1");
  ASSERT_TRUE(message);
  EXPECT_EQ(text, message->getRawText());
  EXPECT_EQ("id-1", message->getUidl());
  EXPECT_EQ("a@b", message->getFromAddress());
}

TEST_F(MailComponentTest, AFetchedMessageHasTheSizeThatTheServerTells) {
  deliver("id-1", "From: a@b\r\n\r\nHi\r\n");
  mailbox->answers["LIST"] = "+OK\r\n1 4711\r\n.\r\n";
  ASSERT_TRUE(mail->popConnect());
  EXPECT_EQ(4711, mail->popGetMessage("id-1")->getSize());
}

TEST_F(MailComponentTest, AnIdThatNoMessageHasFetchesNothing) {
  deliver("id-1", "From: a@b\r\n\r\n");
  ASSERT_TRUE(mail->popConnect());
  EXPECT_FALSE(mail->popGetMessage("id-2"));
  EXPECT_FALSE(mail->popGetMessage(""));
  EXPECT_FALSE(mail->popDeleteMessage(""));
}

TEST_F(MailComponentTest, AMessageThatIsGoneMeanwhileIsNotDeletedAndNoOtherIs) {
  deliver("id-1", "From: a@b\r\n\r\n");
  deliver("id-2", "From: c@d\r\n\r\n");
  ASSERT_TRUE(mail->popConnect());
  ASSERT_TRUE(mail->popGetUidls());
  mailbox->answers["DELE"] = "-ERR no such message\r\n";
  EXPECT_FALSE(mail->popDeleteMessage("id-1"));
  mail.reset();
  EXPECT_EQ(2U, mailbox->messages.size());
}

TEST_F(MailComponentTest, ADeletionTakesEffectOnRelease) {
  deliver("id-1", "From: a@b\r\n\r\n");
  deliver("id-2", "From: c@d\r\n\r\n");
  ASSERT_TRUE(mail->popConnect());
  EXPECT_TRUE(mail->popDeleteMessage("id-1"));
  EXPECT_TRUE(mailbox->has("id-1"));
  mail.reset();
  EXPECT_FALSE(mailbox->has("id-1"));
  EXPECT_TRUE(mailbox->has("id-2"));
}

TEST_F(MailComponentTest, AMessageIsDeletedOnce) {
  deliver("id-1", "From: a@b\r\n\r\n");
  deliver("id-2", "From: c@d\r\n\r\n");
  ASSERT_TRUE(mail->popConnect());
  EXPECT_TRUE(mail->popDeleteMessage("id-1"));
  EXPECT_FALSE(mail->popDeleteMessage("id-1"));
  EXPECT_FALSE(mail->popDeleteMessage("id-3"));
  mail.reset();
  EXPECT_EQ(1U, mailbox->messages.size());
}

TEST_F(MailComponentTest, WithoutALogOnEveryOperationFails) {
  deliver("id-1", "From: a@b\r\n\r\n");
  mail->setPopPassword("wrong");
  EXPECT_FALSE(mail->popConnect());
  EXPECT_FALSE(mail->popGetHeaderList(1));
  EXPECT_FALSE(mail->popGetUidls());
  EXPECT_FALSE(mail->popGetMessage("id-1"));
  EXPECT_FALSE(mail->popDeleteMessage("id-1"));
  EXPECT_EQ(1U, mailbox->messages.size());
}

TEST_F(MailComponentTest, InAListNoSenderOrSubjectIsLongerThan16KiB) {
  deliver("id-1",
          "From: " + std::string(20'000, 'a') + "\r\nSubject: " + std::string(16'384, 'b') + "\r\n\r\n");
  ASSERT_TRUE(mail->popConnect());
  const auto list = mail->popGetHeaderList(1);
  ASSERT_TRUE(list);
  EXPECT_EQ(std::string(16'384, 'a'), list->getItem(0)->getFromAddress());
  EXPECT_EQ(std::string(16'384, 'b'), list->getItem(0)->getSubject());
}

TEST_F(MailComponentTest, AFetchedMessageHasNoLongerSenderAndSubjectThanTheList) {
  deliver("id-1",
          "From: " + std::string(20'000, 'a') + "\r\nSubject: " + std::string(20'000, 'b') + "\r\n\r\n");
  ASSERT_TRUE(mail->popConnect());
  const auto message = mail->popGetMessage("id-1");
  ASSERT_TRUE(message);
  EXPECT_TRUE(message->getFromAddress() == std::string(16'384, 'a'));
  EXPECT_TRUE(message->getSubject() == std::string(16'384, 'b'));
}

TEST_F(MailComponentTest, ANewMailComponentKnowsBothServersAndTheSmtpUser) {
  const auto smtp = addSmtpServer("smtp.example");
  settings.POP_SERVER = "mail.example";
  settings.POP_ACCOUNT = "bob";
  settings.POP_PASSWORD = "secret";
  settings.SMTP_SERVER = "smtp.example";
  settings.SMTP_USER = "";
  settings.SMTP_PASSWORD = "password";
  EXPECT_TRUE(newMailComponent().popConnect());
  EXPECT_TRUE(currentMail->smtpLogin());
  EXPECT_EQ(std::vector<std::string>{"EHLO [127.0.0.1]"}, smtp->commands);
  settings.SMTP_USER = "user";
  newMailComponent();
  smtp->commands.clear();
  static_cast<void>(currentMail->smtpLogin());
  EXPECT_EQ((std::vector<std::string>{"EHLO [127.0.0.1]", "AUTH LOGIN", "dXNlcg==", "cGFzc3dvcmQ="}),
            smtp->commands);
  currentMail.reset();
}

TEST_F(MailComponentTest, ANewPopComponentHasTheSettingsAndEndsTheOldSession) {
  settings.POP_SERVER = "mail.example";
  settings.POP_ACCOUNT = "bob";
  settings.POP_PASSWORD = "secret";
  ASSERT_TRUE(newPopComponent().popConnect());
  newPopComponent();
  EXPECT_EQ("QUIT", mailbox->commands.back());
  currentMail.reset();
}

TEST_F(MailComponentTest, ANewPopComponentWaitsAsLongAsTheSettingsSay) {
  mailbox->stallsAt = "GREETING";
  settings.POP_SERVER = "mail.example";
  settings.mailTimeoutSeconds = 11;
  EXPECT_FALSE(newPopComponent().popConnect());
  EXPECT_EQ(11'000, sim::elapsedMilliseconds());
  currentMail.reset();
}

}  // namespace
}  // namespace vornelle
