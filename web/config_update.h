// CONFIGUPDATE.CGI: takes over what the settings page has posted.
#pragma once

#include <string>

namespace vornelle {

// Stores the posted settings, saves the file, tests the mail servers that are entered, and returns the
// answer's text: an alert for each server that cannot be logged on to, then the way back to the settings
// page. An empty value changes nothing, and neither does a password with a "*" in it: the page shows
// passwords as rows of them.
[[nodiscard]] std::string configUpdate();

// ACCEPTCERTIFICATE.CGI: accepts exactly the certificate that the settings page has shown as refused (posted:
// SERVER, "POP3" or "SMTP", and FINGERPRINT), and tests the servers again. The same answer; without alerts,
// and nothing is done, where it is not that certificate. Only for pages behind the gateway: who is to be
// trusted with the password is the user's decision alone.
[[nodiscard]] std::string acceptCertificatePosted();

// EARLIERLOGIN.CGI: puts account name and password of before the updates that the mail server has not taken
// back (core/earlier_log_in.h), saves the file and tests the servers. The same answer. Only for pages behind
// the gateway.
[[nodiscard]] std::string putEarlierLogInBack();

}  // namespace vornelle
