// The web interface's one session: login, logout, expiry, and the login page.
#pragma once

#include <string>
#include <string_view>

namespace vornelle {

// Ends the session when its minutes are used up. Ticks at an interval that has nothing to do with the
// minutes, which Timer_min counts.
void Timer2_Timer();

// True when somebody is logged in and the session's id occurs in the path, letter case being significant.
[[nodiscard]] bool holdsSession(std::string_view path);

// LOGIN.CGI: compares account and password with the settings, letter case ignored. A success starts a new
// session, which ends any earlier one. Returns the answer's text.
[[nodiscard]] std::string login();

// LOGOUT.CGI.
[[nodiscard]] std::string logout();

// The answer that leads a browser on to that page of ours, in the live session; `before` are statements that
// run first.
[[nodiscard]] std::string locationScript(std::string_view page, std::string_view before = "");

// The login page, with the notice when it is not empty and with the announcement that is fetched from the
// maker's server.
[[nodiscard]] std::string loginPage(std::string_view notice);

// The login page for a request without a live session.
[[nodiscard]] std::string sessionEndedPage();

}  // namespace vornelle
