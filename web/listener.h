// The listener and its connections: one listening socket and an accepted one for each connection, elements of
// one control array, sckWS. Element 0 listens on 127.0.0.1; every connection gets the next index.
//
// The server is built to serve one request at a time. There is one requestText, one requestPath and one
// time-out for all connections; answers go to, and closes are applied to, the element of the newest
// connection. A connection's life:
//
// 1. ConnectionRequest: accept, then wait (events go on being served) until a request line has been read or
//    30 seconds are over. Choose the answer and send it, in one send.
// 2. DataArrival: the request's text and path are stored, which ends the wait.
// 3. SendComplete: the request is logged, requestPath emptied, the newest connection closed.
//
// The wait lets the next ConnectionRequest in, whose handler then runs nested in the first one.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace vornelle {

struct WebServer {
  std::int32_t socketIndex = 0;     // the index of the newest connection; only ever grows
  std::int32_t activeRequests = 0;  // connection requests being handled now
  std::int32_t maxRequests = 0;
  std::string defaultPage;   // the page for the path "/"
  std::string notFoundText;  // the "HTTP 404" page; no path leads to it
};

extern WebServer webServer;

// Starts listening on settings.httpPort (0 counts as 80, a negative one as 1), or on the next port above it
// that can be had, which httpPort then is. A message box tells when there is none up to 65535; the program
// goes on without a web server.
void listenerStart();

// The port that is listened on; 0: none.
[[nodiscard]] int listenerPort();

// The connections that hold an element now, closed ones that await their release included. For tests.
[[nodiscard]] std::size_t loadedConnections();

}  // namespace vornelle
