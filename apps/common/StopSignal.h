// StopSignal: SIGINT and SIGTERM end a command in order instead of killing it.
//
// Made once, before any window (whose own handlers would otherwise come first) and any thread. A
// small thread takes the two signals; they are blocked in the caller and in every thread made
// later, so that a main thread which the system or a driver holds does not hold them up. The first
// signal asks for the orderly end; when that takes longer than 1.8 s the process ends with status
// 128 + signal, and recordings keep what was written. The second kills at once. Without the thread
// (the system refused it) the caller takes the signals, and SIGALRM kills after 2 s.
//
// SIGPIPE and SIGXFSZ are ignored: a reader that went away or a file that grew too large is an
// error of the write.
#pragma once

namespace quorvid::app {

void catchStopSignals();
// Any thread.
bool stopRequested();

}  // namespace quorvid::app
