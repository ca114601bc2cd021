// The system's calls and threads.
#undef _FORTIFY_SOURCE  // with it the headers define some of them
#include <fcntl.h>
#include <netdb.h>
#include <poll.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>

#include "faults/refuse/Refuse.h"

// A function that gives `failed` and sets `error` when it is its turn.
// NOLINTBEGIN(bugprone-macro-parentheses): a type can't have them
#define REFUSE_CALL(result, name, parameters, arguments, error, failed)   \
  REFUSE_SHOWN result name parameters {                                   \
    static const auto real = refuse::next<result(*) parameters>(#name);   \
    if (!refuse::isRefused(refuse::Kind::System, #name, REFUSE_CALLER)) { \
      return real arguments;                                              \
    }                                                                     \
    errno = error;                                                        \
    return failed;                                                        \
  }
// NOLINTEND(bugprone-macro-parentheses)

REFUSE_CALL(int, socket, (int a, int b, int c), (a, b, c), EMFILE, -1)
REFUSE_CALL(int, connect, (int a, const sockaddr* b, socklen_t c), (a, b, c), ENOMEM, -1)
REFUSE_CALL(int, eventfd, (unsigned a, int b), (a, b), EMFILE, -1)
REFUSE_CALL(int, eventfd_write, (int a, eventfd_t b), (a, b), EAGAIN, -1)
REFUSE_CALL(int, eventfd_read, (int a, eventfd_t* b), (a, b), EAGAIN, -1)
REFUSE_CALL(int, setsockopt, (int a, int b, int c, const void* d, socklen_t e), (a, b, c, d, e),
            ENOMEM, -1)
REFUSE_CALL(int, getsockopt, (int a, int b, int c, void* d, socklen_t* e), (a, b, c, d, e), ENOBUFS,
            -1)
REFUSE_CALL(int, shutdown, (int a, int b), (a, b), ENOTCONN, -1)
REFUSE_CALL(int, poll, (pollfd * a, nfds_t b, int c), (a, b, c), ENOMEM, -1)
REFUSE_CALL(int, ppoll, (pollfd * a, nfds_t b, const timespec* c, const sigset_t* d), (a, b, c, d),
            ENOMEM, -1)
REFUSE_CALL(ssize_t, read, (int a, void* b, std::size_t c), (a, b, c), ENOMEM, -1)
REFUSE_CALL(ssize_t, write, (int a, const void* b, std::size_t c), (a, b, c), ENOMEM, -1)
REFUSE_CALL(ssize_t, send, (int a, const void* b, std::size_t c, int d), (a, b, c, d), ENOBUFS, -1)

REFUSE_SHOWN int fcntl(int file, int command, ...) {
  static const auto real = refuse::next<int (*)(int, int, ...)>("fcntl");
  va_list rest;
  va_start(rest, command);
  void* const value = va_arg(rest, void*);
  va_end(rest);
  if (!refuse::isRefused(refuse::Kind::System, "fcntl", REFUSE_CALLER)) {
    return real(file, command, value);
  }
  errno = EMFILE;
  return -1;
}

REFUSE_SHOWN int gethostbyname_r(const char* name, hostent* entry, char* work, std::size_t size,
                                 hostent** found, int* problem) {
  static const auto real = refuse::next<decltype(&::gethostbyname_r)>("gethostbyname_r");
  if (!refuse::isRefused(refuse::Kind::System, "gethostbyname_r", REFUSE_CALLER)) {
    return real(name, entry, work, size, found, problem);
  }
  *found = nullptr;
  *problem = NETDB_INTERNAL;
  return ENOMEM;
}

REFUSE_SHOWN int pthread_create(pthread_t* thread, const pthread_attr_t* attributes,
                                void* (*body)(void*), void* argument) {
  static const auto real = refuse::next<decltype(&::pthread_create)>("pthread_create");
  if (refuse::isRefused(refuse::Kind::Threads, "pthread_create", REFUSE_CALLER)) return EAGAIN;
  return real(thread, attributes, body, argument);
}
