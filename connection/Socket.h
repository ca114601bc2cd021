// Socket: the handle that a call owns its connection by; closed with its owner. Another thread may
// shut the connection down, so that a read under way ends.
//
// Lives on the stack for the whole call and is found by the address of the flag that the call is
// stopped through. Descriptors of 0 and below mean "not connected".
//
// The one lock of this room guards the list of these objects and what other threads touch of them.
// Without it a shutdown could hit a descriptor that the call has closed meanwhile and somebody else
// has opened. It is held for steps that never wait, and by the call only where a connection begins
// or ends: the descriptor is changed by the call's thread alone, which reads it without the lock.
#pragma once

#include <atomic>
#include <cstdint>

namespace quorvid {

class Socket {
 public:
  // flag outlives this object; null for a call that can't be stopped. Owns the descriptor, if any.
  explicit Socket(const std::uint8_t* flag = nullptr, std::int32_t descriptor = -1);
  ~Socket();
  Socket(const Socket&) = delete;
  Socket& operator=(const Socket&) = delete;

  // Owns descriptor from here on. To be called once the request is out: a request sender that fails
  // closes the descriptor itself. (A connect under way is adopted until it has ended.) After an
  // interrupt the connection is shut down at once.
  void adopt(std::int32_t descriptor);
  // Owns nothing any more; closes nothing.
  void release();
  void close();
  std::int32_t descriptor() const { return descriptor_; }
  bool isOpen() const { return descriptor_ > 0; }
  // True from the first interrupt on: what reads bring may be cut.
  bool wasInterrupted() const { return interrupted_.load(std::memory_order_acquire); }

  // Shuts down the connections of this flag's calls, those yet to be adopted included.
  // Any thread.
  static void interrupt(const std::uint8_t* flag);

 private:
  void shutDown();

  const std::uint8_t* const flag_;
  Socket* next_ = nullptr;
  std::int32_t descriptor_;
  std::atomic<bool> interrupted_{false};
};

}  // namespace quorvid
