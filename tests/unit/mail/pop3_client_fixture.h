// A mail component that talks to a scripted POP3 server of the simulated network.
#pragma once

#include <memory>
#include <string>

#include "mail/mail_component.h"
#include "tests/unit/mail/scripted_pop3.h"
#include "tests/unit/support.h"

namespace vornelle {

inline std::string message(int number) {
  const std::string n = std::to_string(number);
  return "From: sender" + n + "@x.example\r\nSubject: Subject " + n + "\r\n\r\nBody of " + n + "\r\n";
}

class Pop3ClientTest : public SimTest {
 protected:
  std::shared_ptr<Pop3Mailbox> mailbox = addPop3Server();
  std::unique_ptr<MailComponent> mail = std::make_unique<MailComponent>();

  Pop3ClientTest() {
    mail->setPopServer("mail.example");
    mail->setPopAccount("bob");
    mail->setPopPassword("secret");
  }

  void deliver(const std::string& uidl, const std::string& text) {
    mailbox->messages.push_back({uidl, text});
  }
  void deliverMany(int count) {
    for (int i = 1; i <= count; ++i) deliver("id-" + std::to_string(i), message(i));
  }

  std::unique_ptr<HeaderList> list() {
    if (!mail->popConnect()) return nullptr;
    return mail->popGetHeaderList(1);
  }
  void expectWholeList(int count) {
    const auto headers = list();
    ASSERT_TRUE(headers);
    ASSERT_EQ(count, headers->getCount());
    for (int i = 0; i < count; ++i) {
      EXPECT_EQ("Subject " + std::to_string(i + 1), headers->getItem(i)->getSubject());
      EXPECT_EQ(mailbox->hasUidl ? "id-" + std::to_string(i + 1) : "", headers->getItem(i)->getUidl());
    }
  }
  // Nothing can be done any more, and nothing is deleted at the end.
  void expectDeadSession() {
    const std::size_t before = mailbox->commands.size();
    EXPECT_FALSE(mail->popGetHeaderList(1));
    EXPECT_FALSE(mail->popGetUidls());
    EXPECT_FALSE(mail->popGetMessage("id-1"));
    EXPECT_FALSE(mail->popDeleteMessage("id-1"));
    mail.reset();
    EXPECT_EQ(before, mailbox->commands.size()) << mailbox->commands.back();
    EXPECT_TRUE(mailbox->deleted.empty());
  }
};

}  // namespace vornelle
