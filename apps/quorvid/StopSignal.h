// StopSignal: SIGINT and SIGTERM end a command in order instead of killing it.
//
// Made once, before any window (whose own handlers would otherwise come first). A second signal
// kills the process as usual, should the orderly end take too long. SIGPIPE and
// SIGXFSZ are ignored: a reader that went away or a file that grew too large is an error of the
// write.
#ifndef QUORVID_APPS_QUORVID_STOP_SIGNAL_H
#define QUORVID_APPS_QUORVID_STOP_SIGNAL_H

namespace quorvid::app {

void catchStopSignals();
// Any thread.
bool stopRequested();

}  // namespace quorvid::app

#endif
