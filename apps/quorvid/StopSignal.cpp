#include "apps/quorvid/StopSignal.h"

#include <csignal>

namespace quorvid::app {

namespace {

volatile std::sig_atomic_t stopSeen = 0;

void noteStop(int) {
  stopSeen = 1;
}

}  // namespace

void catchStopSignals() {
  struct sigaction action {};
  action.sa_handler = noteStop;
  action.sa_flags = SA_RESETHAND | SA_RESTART;
  sigemptyset(&action.sa_mask);
  sigaction(SIGINT, &action, nullptr);
  sigaction(SIGTERM, &action, nullptr);
  action.sa_handler = SIG_IGN;
  action.sa_flags = 0;
  sigaction(SIGPIPE, &action, nullptr);
  sigaction(SIGXFSZ, &action, nullptr);
}

bool stopRequested() {
  return stopSeen != 0;
}

}  // namespace quorvid::app
