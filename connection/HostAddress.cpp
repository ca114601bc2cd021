#include "connection/HostAddress.h"

#include <netdb.h>

#include <cerrno>
#include <cstring>
#include <memory>
#include <new>

namespace quorvid {

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

}  // namespace quorvid
