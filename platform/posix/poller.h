// What the thread sleeps on: one epoll instance, edge-triggered, so that input which nobody reads wakes
// nobody twice.
#pragma once

#include <cstdint>
#include <optional>

namespace vornelle {

// Told that something has happened to its descriptor; looks by itself what it was.
class Polled {
 public:
  Polled() = default;
  Polled(const Polled&) = delete;
  Polled& operator=(const Polled&) = delete;

  virtual void happened() = 0;

 protected:
  ~Polled() { unwatch(); }

  // Once for each object. False when the system has no room for it.
  [[nodiscard]] bool watch(int descriptor);
  void unwatch();

 private:
  std::uint64_t id_ = 0;  // never used again, unlike a descriptor
  int descriptor_ = -1;
};

// Sleeps until something happens to a watched descriptor or the time (of monotonicMilliseconds()) has come,
// then tells the objects; a time that has passed does not sleep, none sleeps without end.
void pollDescriptors(std::optional<std::int64_t> until);

}  // namespace vornelle
