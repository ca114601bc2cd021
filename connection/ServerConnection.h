// ServerConnection: opening a TCP connection to a server, and the options that requests are sent
// under. Any thread; may block for as long as the name service or the system's connect does.
#pragma once

#include <netinet/in.h>

#include <cstdint>

namespace quorvid {

class Socket;
class StreamObserver;

// The first IPv4 address of a name or a dotted address, in the order of the resolver. 0, or the
// resolver's error: HOST_NOT_FOUND, NO_DATA, TRY_AGAIN, NO_RECOVERY, NETDB_INTERNAL.
int resolveFirstAddress(const char* host, in_addr& address);

extern "C" {

// The local time as asctime writes it, with its line end. The storage belongs to the calling thread
// and is overwritten by that thread's next call.
char* getNowTime(void);

// Connects to the first IPv4 address of host, at the low 16 bits of port; blocks as long as the
// system tries. Returns a close-on-exec descriptor above 0, the caller's to close, or -1 after a
// line on standard output. A null host counts as one that can't be resolved.
std::int32_t ConnectToServer(const char* host, std::int32_t port);

}  // extern "C"

// As ConnectToServer, but tells the observer instead of printing, and an interrupt of the socket,
// which must own nothing, ends the connect. Null observer: prints, and the connect isn't ended.
std::int32_t openConnection(const char* host, std::int32_t port, StreamObserver* observer,
                            Socket* socket = nullptr);

// Sets a request's options on a connected socket, where they stay in force for the stream that
// follows: no read or write waits longer than kSilenceLimit, and closing resets the connection at
// once. An option that the system refuses leaves the socket as it was.
void applyRequestProfile(std::int32_t socket);

}  // namespace quorvid
