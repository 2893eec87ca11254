// The simulated platform, as a test sees it: a virtual clock, an in-memory network and an in-memory shell.
// Files are real ones, in a temporary application folder.
//
// Time passes only when the program waits: waitEvents() with nothing ready moves the clock to the next timer
// or to the next scripted step; pause() moves it by its length; a NetStream wait that times out moves it by
// the time-out. A wait that nothing can ever end throws sim::Deadlock, so that a test fails instead of
// hanging.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "platform/clock.h"
#include "platform/shell.h"
#include "platform/socket.h"
#include "platform/tls.h"

namespace vornelle::sim {

// Thrown by endProcess().
struct ProcessEnded {};

struct Deadlock : std::logic_error {
  using std::logic_error::logic_error;
};

// Puts the whole simulated platform back to its first state: clock at 2026-11-15 01:55:00 local time (UTC in
// this world), no connections, no servers, no scripted steps, empty shell record; a fresh, empty application
// folder with an empty "data" folder in it. Timers that exist stay registered; their periods start again.
void reset();

// ---- clock ----
void setUtc(std::int64_t seconds);
std::int64_t elapsedMilliseconds();  // virtual time since reset()
// Lets the given virtual time pass, serving every event that falls into it in order.
void advance(int milliseconds);
// Runs the step as an event at the given distance from now (0: as soon as events are served).
void after(int milliseconds, std::function<void()> step);

// ---- the browser's side of the in-memory network ----
class Client {
 public:
  bool connect(LoopbackAddress address, int port);  // false: nobody listens there
  void send(std::string_view bytes);
  void finishSending();  // half close
  void disconnect();     // full close
  void reset();          // connection reset
  const std::string& received() const;
  bool closedByServer() const;
  // How many bytes the connection takes until the client reads; unlimited at first. takeMore() raises it.
  void limitReceiveBuffer(std::size_t bytes);
  void takeMore(std::size_t bytes);

  Client();
  ~Client();
  Client(Client&&) noexcept;
  Client& operator=(Client&&) noexcept;
  struct Impl;

 private:
  std::shared_ptr<Impl> impl_;
};
// Ports (of either loopback address) that listen() refuses as taken.
void occupyPort(LoopbackAddress address, int port);
void refuseAddress(LoopbackAddress address);  // as on a machine without IPv6
int listeningPort(LoopbackAddress address);   // the lowest one that is listened on; 0: none

// ---- mail servers behind NetStream ----
// What a scripted server does when the program starts TLS with it. A fault of the certificate is passed over
// where the program accepts the fingerprint, as on every system.
struct TlsAnswer {
  TlsProblem problem = TlsProblem::none;
  int takes = 0;  // milliseconds; longer than the program's time-out: timedOut, once that has passed
  bool newestMayDo = false;
  std::string certificateName = "mail.example";
  std::string fingerprint = "1f0e2d3c4b5a69788796a5b4c3d2e1f01f0e2d3c4b5a69788796a5b4c3d2e1f0";
  std::string protocol = "TLS 1.2";
  std::string system = {};
};
class Server {  // one instance for each connection
 public:
  virtual ~Server() = default;
  // Both append what the server sends to `out`. close(): the stream ends after what has been sent.
  virtual void onConnect(std::string& out) = 0;
  virtual void onData(std::string_view bytes, std::string& out) = 0;
  // The program starts TLS; not called while bytes of the server wait unread (they are taken for TLS, which
  // they are not). What the server says first on the secured line goes to `out`. Where all is well `secured`
  // is set then.
  virtual TlsAnswer onTls(const TlsPeer& /*peer*/, std::string& /*out*/) {
    TlsAnswer answer;
    answer.problem = TlsProblem::notTls;
    return answer;
  }
  bool secured = false;     // everything in onData() from here on came over TLS
  bool saysTlsEnds = true;  // set by the server: its secured stream ends when closed; else it breaks off
  bool closed = false;      // set by the server: end of stream once `out` has been read
  bool stalled = false;     // set by the server: every further wait times out
  bool broken = false;      // set by the server: reads and writes fail at once
};
// Connections to host:port go to a server that the factory makes (null: refused). Replaces an earlier one.
void addServer(const std::string& host, int port, std::function<std::unique_ptr<Server>()> factory);
void removeServer(const std::string& host, int port);
int connectionsMade();

// ---- shell ----
struct Shell {
  int beeps = 0;
  std::vector<std::string> messageBoxes;
  std::vector<MessageIcon> messageIcons;                 // of the same boxes
  std::function<void(const std::string&)> onMessageBox;  // run while the box is open; may serve events
  bool previousInstance = false;
  std::string startupFolder;                               // "" : getSpecialFolder fails
  std::vector<std::pair<std::string, std::string>> links;  // name, target; the .lnk file is created too
  std::vector<std::string> openedAddresses;
  bool launchesBrowser = true;
  std::map<std::string, std::string> downloads;  // url -> text
  std::vector<std::string> downloadedUrls;
  int iconAdds = 0, iconDeletes = 0;
  bool iconShown = false;
  std::vector<std::string> iconTips;          // tip of the add, then of each modification
  int waitCursors = 0, waitCursorsShown = 0;  // hourglasses now, and in all
  std::string amDesignator = "AM", pmDesignator = "PM";
  std::string localCharset = "windows-1252";
};
Shell& shell();
// Runs the termination handler as an event.
void requestTermination();

// ---- files ----
// Writing (writeFile and appendFile) to a path that contains the text fails while it is set; "" : nothing
// fails.
void failWritesTo(const std::string& part);
// The same for what writeFileUnflushed() has written, when it is flushed.
void failFlushesOf(const std::string& part);
// Reading a path that contains the text fails while it is set.
void failReadsOf(const std::string& part);
// Nothing can be put in the place of a file whose path contains the text; what is there can be written.
void failReplacementsOf(const std::string& part);
// Runs with the path before every write of a file, also before one that is to fail.
void beforeWrites(std::function<void(const std::string& path)> step);

// ---- random numbers ----
void setRandomSeed(std::uint64_t seed);  // fillRandom is a fixed sequence in this world

}  // namespace vornelle::sim
