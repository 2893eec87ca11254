// The hourglass: while one of these lives, the pointer over the program's windows says that the thread waits
// for a mail server. They may nest. Only the Windows program has a pointer; elsewhere it does nothing.
#pragma once

namespace vornelle {

class WaitCursor {
 public:
  WaitCursor();
  ~WaitCursor();
  WaitCursor(const WaitCursor&) = delete;
  WaitCursor& operator=(const WaitCursor&) = delete;
};

}  // namespace vornelle
