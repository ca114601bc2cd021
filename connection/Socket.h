// Socket: the handle that a call owns its connection by; closed with its owner.
//
// Descriptors of 0 and below mean "not connected".
#pragma once

#include <cstdint>

namespace quorvid {

class Socket {
 public:
  Socket() = default;
  explicit Socket(std::int32_t descriptor) : descriptor_(descriptor) {}
  ~Socket() { close(); }
  Socket(const Socket&) = delete;
  Socket& operator=(const Socket&) = delete;

  std::int32_t descriptor() const { return descriptor_; }
  bool isOpen() const { return descriptor_ > 0; }
  void close();
  // Lets go without closing: a failed request sender has closed the descriptor already.
  void forget() { descriptor_ = -1; }

 private:
  std::int32_t descriptor_ = -1;
};

}  // namespace quorvid
