#include "connection/ServerConnection.h"

#include <fcntl.h>
#include <netdb.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <ctime>
#include <memory>
#include <new>

#include "connection/BlockingIO.h"
#include "connection/PrintedLine.h"
#include "connection/Socket.h"
#include "connection/StreamObserver.h"

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
  if (::getsockopt(descriptor, SOL_SOCKET, SO_ERROR, &error, &size) != 0) return false;
  errno = error;
  return error == 0;
}

bool connectTo(std::int32_t descriptor, const sockaddr_in& peer) {
  if (::connect(descriptor, reinterpret_cast<const sockaddr*>(&peer), sizeof peer) == 0) {
    return true;
  }
  return errno == EINTR && awaitConnected(descriptor);
}

// The socket's interrupt shuts down what it owns, which ends a connect only once that has begun: so
// it is begun without waiting, and the interrupt looked for then.
bool connectUntilInterrupted(Socket& socket, std::int32_t descriptor, const sockaddr_in& peer) {
  socket.adopt(descriptor);
  ::fcntl(descriptor, F_SETFL, O_NONBLOCK);
  bool isConnected = connectTo(descriptor, peer);
  if (!isConnected && errno == EINPROGRESS && !socket.wasInterrupted()) {
    isConnected = awaitConnected(descriptor);
  }
  const int error = errno;
  ::fcntl(descriptor, F_SETFL, 0);
  socket.release();
  errno = error;
  return isConnected;
}

template <class T>
void setOption(std::int32_t socket, int level, int option, const T& value) {
  static_cast<void>(::setsockopt(socket, level, option, &value, sizeof value));
}

class PrintedFailures final : public StreamObserver {
 public:
  explicit PrintedFailures(const char* host) : host_(host) {}
  void told(StreamEvent event, std::int32_t /*detail*/) override {
    if (!areLinesWanted()) return;
    if (event == StreamEvent::Unresolved) printLine("%s Gethostname error\n", getNowTime());
    if (event == StreamEvent::Unreachable) printLine("ConnectToHost connect to %s fail\n", host_);
  }
  void frameArrived(const std::uint8_t* /*bytes*/, std::size_t /*size*/) override {}

 private:
  const char* const host_;
};

}  // namespace

// gethostbyname keeps the resolver's order (getaddrinfo re-sorts), and the order decides: only the
// first address is ever tried.
int resolveFirstAddress(const char* host, in_addr& address) {
  constexpr std::size_t kMostWork = 1 << 20;
  if (host == nullptr) return HOST_NOT_FOUND;
  for (std::size_t size = 2048; size <= kMostWork; size *= 2) {
    const std::unique_ptr<char[]> work(new (std::nothrow) char[size]);
    hostent entry{};
    hostent* found = nullptr;
    int error = NETDB_INTERNAL;
    if (work == nullptr) return NETDB_INTERNAL;
    const int status = gethostbyname_r(host, &entry, work.get(), size, &found, &error);
    if (status == ERANGE) continue;
    if (status != 0 || found == nullptr) return error != 0 ? error : NETDB_INTERNAL;
    if (found->h_addr_list[0] == nullptr) return NO_DATA;
    memcpy(&address, found->h_addr_list[0], sizeof address);
    return 0;
  }
  return NETDB_INTERNAL;
}

extern "C" char* getNowTime(void) {
  // "Www Mmm dd hh:mm:ss yyyy\n" and NUL; empty for a year that has no such form.
  thread_local char text[26];
  const time_t now = time(nullptr);
  tm local{};
  tzset();
  if (localtime_r(&now, &local) == nullptr || asctime_r(&local, text) == nullptr) text[0] = '\0';
  return text;
}

std::int32_t openConnection(const char* host, std::int32_t port, StreamObserver* observer,
                            Socket* socket) {
  PrintedFailures printed(host);
  StreamObserver& told = observer != nullptr ? *observer : printed;
  sockaddr_in peer{};
  told.told(StreamEvent::Resolving, 0);
  const int unresolved = resolveFirstAddress(host, peer.sin_addr);
  if (unresolved != 0) {
    told.told(StreamEvent::Unresolved, unresolved);
    return -1;
  }
  told.told(StreamEvent::Connecting, 0);
  peer.sin_family = AF_INET;
  peer.sin_port = htons(static_cast<std::uint16_t>(port));
  const std::int32_t created = createSocket();
  const bool canEnd = observer != nullptr && socket != nullptr;
  if (created > 0 &&
      (canEnd ? connectUntilInterrupted(*socket, created, peer) : connectTo(created, peer))) {
    return created;
  }
  told.told(StreamEvent::Unreachable, errno);
  if (created > 0) ::close(created);
  return -1;
}

extern "C" std::int32_t ConnectToServer(const char* host, std::int32_t port) {
  return openConnection(host, port, nullptr);
}

// Small segments and buffers and no delay, so that a request leaves at once and little of a live
// stream lies in the system's buffers.
void applyRequestProfile(std::int32_t socket) {
  const timeval longestWait{kSilenceLimit.count(), 0};
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
