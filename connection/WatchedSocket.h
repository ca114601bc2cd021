// WatchedSocket: a worker's connection, which another thread may shut down so that a read under way
// ends.
//
// Lives on the worker's stack for the whole call and is found by the address of the flag that the
// call is stopped through. What is shared (the list, the descriptor) is guarded by the one lock of
// this room: without it a shutdown could hit a descriptor that the worker has closed meanwhile and
// somebody else has opened. It is held for steps that never wait, and by the worker only where a
// connection begins or ends.
#pragma once

#include <atomic>
#include <cstdint>

namespace quorvid {

class WatchedSocket {
 public:
  // flag outlives this object.
  explicit WatchedSocket(const std::uint8_t* flag);
  // Closes.
  ~WatchedSocket();
  WatchedSocket(const WatchedSocket&) = delete;
  WatchedSocket& operator=(const WatchedSocket&) = delete;

  // Owns descriptor from here on. To be called once the request is out: a request sender that fails
  // closes the descriptor itself. After an interrupt the connection is shut down at once.
  void adopt(std::int32_t descriptor);
  void close();
  std::int32_t descriptor() const { return descriptor_; }
  bool isOpen() const { return descriptor_ > 0; }
  // True from the first interrupt on: what reads bring may be cut.
  bool wasInterrupted() const { return interrupted_.load(std::memory_order_acquire); }

  // Shuts down the connections that are watched for this flag, those yet to be adopted included.
  // Any thread.
  static void interrupt(const std::uint8_t* flag);

 private:
  void shutDown();

  const std::uint8_t* const flag_;
  WatchedSocket* next_ = nullptr;
  std::int32_t descriptor_ = -1;
  std::atomic<bool> interrupted_{false};
};

}  // namespace quorvid
