// Server: what stands in for a server, and for time, in a fuzzer linked with -Wl,--wrap of connect,
// send, read, recv and clock_nanosleep.
//
// A connection is a socket pair in the place of the caller's descriptor. What it reads there comes
// straight out of records, no more with one read than one record has; a record's kind says what
// follows it. A pause takes no time.
#pragma once

#include <sys/types.h>

#include <functional>

#include "fuzz/Records.h"

namespace quorvid::fuzz {

// A kind modulo 16; every other one: nothing but the next record.
enum After : std::uint8_t {
  kUnsent = 9,   // only as the first of a connection, without its bytes: nothing can be sent there
  kInterrupted,  // the next read fails with EINTR
  kClosed,       // the peer closes in order; what follows is for the next connection
  kReset,
  kSilent,  // nothing comes for so long that the read fails
  kStop,    // stop() is called inside the next read
  kRefused  // only as the first of a connection, without its bytes: nobody listens
};

class Server {
 public:
  // What all connections from now on will be sent.
  void serve(std::vector<Record> script);
  // The calls that connected are over.
  void finish();
  bool isOver() const { return next_ == script_.size(); }

  std::function<void()> stop = [] {};
  std::function<void(double seconds)> paused = [](double) {};

  // In the place of the system's functions; -1 with errno, as they have it.
  int connect(int descriptor);
  bool isAt(int descriptor) const { return descriptor == descriptor_; }
  bool mayNotSend() const { return isDeaf_; }
  ssize_t read(void* out, std::size_t size);

 private:
  // 1: there are bytes; else what a read says.
  int findBytes();

  std::vector<Record> script_;
  std::size_t next_ = 0;
  int descriptor_ = -1, end_ = -1;
  std::size_t at_ = 0, left_ = 0;  // of the record before the next
  std::uint8_t after_ = 0;
  bool isDeaf_ = false;
};

extern Server server;

// A mend() for records of the wire, each of them a packet, a frame or a device record: its
// length.
void mendWire(Bytes& bytes);

}  // namespace quorvid::fuzz
