// Signals: kept away from threads that ask a server: one that comes there breaks the connection.
#pragma once

#include <csignal>

namespace quorvid::desk {

// On the calling thread, until it ends.
inline void blockSignals() {
  sigset_t all;
  sigfillset(&all);
  pthread_sigmask(SIG_BLOCK, &all, nullptr);
}

}  // namespace quorvid::desk
