// ServerConnection: opening a TCP connection, and the handle that a worker owns it by.
#ifndef QUORVID_CONNECTION_SERVERCONNECTION_H
#define QUORVID_CONNECTION_SERVERCONNECTION_H

#include <cstdint>

namespace quorvid {

// Connects to the first IPv4 address of host, at the low 16 bits of port; blocks as long as the
// system tries. Returns a close-on-exec descriptor above 0, the caller's to close, or -1 after a
// line on standard output. A null host counts as one that can't be resolved.
extern "C" int32_t ConnectToServer(const char* host, int32_t port);

// A worker's connection: closed with its owner. Descriptors of 0 and below mean "not connected".
class Socket {
 public:
  Socket() = default;
  explicit Socket(int32_t descriptor) : descriptor_(descriptor) {}
  ~Socket() { close(); }
  Socket(const Socket&) = delete;
  Socket& operator=(const Socket&) = delete;

  int32_t descriptor() const { return descriptor_; }
  bool isOpen() const { return descriptor_ > 0; }
  void open(int32_t descriptor);
  void close();
  // Lets go of a descriptor that a failed request sender has closed already.
  void forget() { descriptor_ = -1; }

 private:
  int32_t descriptor_ = -1;
};

}  // namespace quorvid

#endif
