// Descriptor: owns a file descriptor of the system. One thread.
#pragma once

#include <unistd.h>

#include <system_error>
#include <utility>

namespace quorvid::bench {

class Descriptor {
 public:
  // @throws std::system_error with `what`, when the call that made it failed
  Descriptor(int value, const char* what) : value_(value) {
    if (value < 0) throw std::system_error(errno, std::generic_category(), what);
  }
  ~Descriptor() {
    if (value_ >= 0) ::close(value_);
  }
  Descriptor(Descriptor&& other) noexcept : value_(std::exchange(other.value_, -1)) {}
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  Descriptor& operator=(Descriptor&&) = delete;

  int get() const { return value_; }

 private:
  int value_;
};

}  // namespace quorvid::bench
