// A file descriptor that closes itself.
#pragma once

#include <unistd.h>

#include <utility>

namespace vornelle {

class Descriptor {
 public:
  Descriptor() = default;
  explicit Descriptor(int value) : value_(value) {}
  ~Descriptor() { reset(); }
  Descriptor(Descriptor&& other) noexcept : value_(std::exchange(other.value_, -1)) {}
  Descriptor& operator=(Descriptor&& other) noexcept {
    if (this != &other) {
      reset();
      value_ = std::exchange(other.value_, -1);
    }
    return *this;
  }

  [[nodiscard]] bool isOpen() const { return value_ >= 0; }
  [[nodiscard]] int get() const { return value_; }
  // False where the system has something to complain about: some file systems report a full disk only here.
  [[nodiscard]] bool close() { return ::close(std::exchange(value_, -1)) == 0; }
  void reset() {
    if (value_ >= 0) ::close(std::exchange(value_, -1));
  }

 private:
  int value_ = -1;
};

}  // namespace vornelle
