// HostAddress: the address that a host name stands for. Any thread; may block for as long as the
// name service does.
#pragma once

#include <netinet/in.h>

namespace quorvid {

// The first IPv4 address of a name or a dotted address, in the order of the resolver. 0, or the
// resolver's error: HOST_NOT_FOUND, NO_DATA, TRY_AGAIN, NO_RECOVERY, NETDB_INTERNAL.
int resolveFirstAddress(const char* host, in_addr& address);

}  // namespace quorvid
