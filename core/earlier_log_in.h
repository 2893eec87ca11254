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

// After an update of the settings that had `before` in front of it. Of several updates one after the other
// that the server has not taken the first counts; an empty password is nothing to go back to.
void noteLogInUpdate(const LogIn& before, bool taken);

}  // namespace vornelle
