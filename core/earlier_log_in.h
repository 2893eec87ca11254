// The mailbox's account and password are the log-in of the pages too. Until the mail server has taken those
// that have been saved, the ones before them are kept in memory, so that there is a way back.
#pragma once

#include <optional>
#include <string>

namespace vornelle {

struct LogIn {
  std::string account, password;
  bool operator==(const LogIn&) const = default;
};

[[nodiscard]] LogIn currentLogIn();

// The ones to go back to; nullopt while those of the settings are known to be taken, or have not been
// changed.
extern std::optional<LogIn> earlierLogIn;

// To be called after an update of the settings. `before` is what held in front of it; `taken` says that the
// mail server has taken what holds now. After several updates that it has not taken, the log-in in front of
// the first of them is the one to go back to. One with an empty password is none.
void noteLogInUpdate(const LogIn& before, bool taken);

}  // namespace vornelle
