#include "apps/common/Reachability.h"

#include <arpa/inet.h>
#include <netdb.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "apps/common/Deadline.h"
#include "connection/ServerConnection.h"

namespace quorvid::app {

namespace {

struct Resolved {
  in_addr address{};
  int error = NETDB_INTERNAL;
};

// As the library does it, so that both try the same address.
Resolved resolve(const std::string& host) {
  Resolved result;
  result.error = resolveFirstAddress(host.c_str(), result.address);
  return result;
}

const char* reasonOf(int error) {
  switch (error) {
    case HOST_NOT_FOUND:
      return "no such name is known";
    case NO_DATA:
      return "it has no IPv4 address";
    case TRY_AGAIN:
      return "no answer from the name service";
    default:
      return "the name service failed";
  }
}

// 0 when connected, else the error number; ETIMEDOUT when nothing came in time.
int connectWithin(const sockaddr_in& address, double timeout) {
  const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
  if (fd < 0) return errno;
  int error = 0;
  if (connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) error = errno;
  if (error == EINPROGRESS) {
    pollfd waited{fd, POLLOUT, 0};
    error = ETIMEDOUT;
    if (poll(&waited, 1, static_cast<int>(timeout * 1000)) == 1) {
      socklen_t size = sizeof error;
      getsockopt(fd, SOL_SOCKET, SO_ERROR, &error, &size);
    }
  }
  close(fd);
  return error;
}

}  // namespace

Reachability resolveServer(const Endpoint& server, double timeout) {
  Reachability result;
  // The resolver knows no deadline of its own.
  const auto resolved =
      callWithin<Resolved>(timeout, [host = server.host] { return resolve(host); });
  if (!resolved || resolved->error != 0) {
    result.state = Reachability::State::Unresolved;
    result.sentence = "the name " + server.host +
                      " can't be resolved: " + reasonOf(resolved ? resolved->error : TRY_AGAIN);
    return result;
  }
  char dotted[INET_ADDRSTRLEN] = "";
  inet_ntop(AF_INET, &resolved->address, dotted, sizeof dotted);
  result.address = dotted;
  return result;
}

Reachability tryServer(const Endpoint& server, double timeout) {
  Reachability result = resolveServer(server, timeout);
  if (result.address.empty()) return result;
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<std::uint16_t>(server.port));
  inet_pton(AF_INET, result.address.c_str(), &address.sin_addr);
  const int error = callWithin<int>(timeout + 1, [address, timeout] {
                      return connectWithin(address, timeout);
                    }).value_or(ETIMEDOUT);
  if (error == 0) {
    result.state = Reachability::State::Connected;
    result.sentence = server.text() + " accepts connections";
  } else if (error == ECONNREFUSED) {
    result.state = Reachability::State::Refused;
    result.sentence = "nothing listens at " + server.text() + " (connection refused)";
  } else if (error == ETIMEDOUT) {
    result.sentence = "no answer from " + server.text() + " (address, network or firewall)";
  } else {
    result.sentence = server.text() + " can't be reached: " + std::strerror(error);
  }
  return result;
}

}  // namespace quorvid::app
