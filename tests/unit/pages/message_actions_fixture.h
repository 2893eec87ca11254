// The actions on single messages: a mailbox, a server that takes mail, a SpamBox folder, and posted forms.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "mail/mail_component.h"
#include "pages/message_actions.h"
#include "tests/unit/mail/scripted_smtp.h"
#include "tests/unit/pages/pages_test_support.h"

namespace vornelle {

class MessageActions : public PageTest {
 protected:
  MessageActions() {
    EXPECT_TRUE(createFolder(inFolder("\\spam")));
    serve(mailbox_);
    settings.SMTP_SERVER = "smtp.example";
    settings.EMAIL_ADDRESS = "joe@home.example";
  }

  static void row(int number, const std::string& key, const std::string& sender) {
    form1.rowKey[static_cast<std::size_t>(number)] = key;
    form1.rowSender[static_cast<std::size_t>(number)] = sender;
  }

  // The form of the page of that box is posted.
  static void post(std::string_view box, const std::string& fields) {
    form1.requestText = "POST /delete.cgi?s=X HTTP/1.1\r\nHost: x\r\n\r\n" + fields;
    deleteChecked(box);
  }

  // The texts of all messages that the mail server has taken.
  [[nodiscard]] std::string sent() const {
    std::string texts;
    for (const SmtpMailboxes::Mail& mail : outbox_->mails) texts += mail.text;
    return texts;
  }

  Mailbox mailbox_;
  std::shared_ptr<SmtpMailboxes> outbox_ = addSmtpServer("smtp.example");
};

}  // namespace vornelle
