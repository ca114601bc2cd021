#include "connection/RequestProfile.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <sys/time.h>

namespace quorvid {
namespace {

template <class T>
void setOption(std::int32_t socket, int level, int option, const T& value) {
  static_cast<void>(::setsockopt(socket, level, option, &value, sizeof value));
}

}  // namespace

void applyRequestProfile(std::int32_t socket) {
  const timeval longestWait{10, 0};
  const linger resetOnClose{1, 0};
  const int segmentBytes = 1200;
  const int bufferBytes = 72000;
  const int on = 1;
  setOption(socket, SOL_SOCKET, SO_SNDTIMEO, longestWait);
  setOption(socket, SOL_SOCKET, SO_RCVTIMEO, longestWait);
  setOption(socket, IPPROTO_TCP, TCP_MAXSEG, segmentBytes);
  setOption(socket, SOL_SOCKET, SO_SNDBUF, bufferBytes);
  setOption(socket, SOL_SOCKET, SO_RCVBUF, bufferBytes);
  setOption(socket, SOL_SOCKET, SO_LINGER, resetOnClose);
  setOption(socket, IPPROTO_TCP, TCP_NODELAY, on);
}

}  // namespace quorvid
