#include "connection/ServerConnection.h"

#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "connection/HostAddress.h"
#include "connection/NowTime.h"
#include "connection/Socket.h"

namespace quorvid {
namespace {

// Descriptor 0 means "not connected" to the workers, so a socket that comes back as 0 (a host that
// closed its standard input) is moved to a higher one.
std::int32_t createSocket() {
  const std::int32_t created = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, IPPROTO_TCP);
  if (created != 0) return created;
  const std::int32_t moved = ::fcntl(created, F_DUPFD_CLOEXEC, 1);
  ::close(created);
  return moved;
}

// A connect that a signal interrupts goes on by itself; its outcome is told once it is writable.
bool awaitConnected(std::int32_t descriptor) {
  pollfd ready{descriptor, POLLOUT, 0};
  while (::poll(&ready, 1, -1) < 0) {
    if (errno != EINTR) return false;
  }
  int error = 0;
  socklen_t size = sizeof error;
  return ::getsockopt(descriptor, SOL_SOCKET, SO_ERROR, &error, &size) == 0 && error == 0;
}

bool connectTo(std::int32_t descriptor, const sockaddr_in& peer) {
  if (::connect(descriptor, reinterpret_cast<const sockaddr*>(&peer), sizeof peer) == 0)
    return true;
  return errno == EINTR && awaitConnected(descriptor);
}

}  // namespace

extern "C" std::int32_t ConnectToServer(const char* host, std::int32_t port) {
  sockaddr_in peer{};
  if (resolveFirstAddress(host, peer.sin_addr) != 0) {
    printf("%s Gethostname error\n", getNowTime());
    return -1;
  }
  peer.sin_family = AF_INET;
  peer.sin_port = htons(static_cast<std::uint16_t>(port));
  Socket socket(createSocket());
  if (!connectTo(socket.descriptor(), peer)) {
    printf("ConnectToHost connect to %s fail\n", host);
    return -1;
  }
  const std::int32_t connected = socket.descriptor();
  socket.forget();
  return connected;
}

}  // namespace quorvid
