// Process: what the tools do to their own process: its signals, its threads and its end.
//
// SIGINT and SIGTERM end a command in order instead of killing it. A small thread takes the two
// signals; they are blocked in the caller and in every thread made later, so that a main thread
// which the system or a driver holds does not hold them up. The first signal asks for the orderly
// end; when that takes longer than 1.8 s the process ends with status 128 + signal, and recordings
// keep what was written. The second kills at once; the same one within 0.3 s is no second one, for
// timeout(1) sends each twice, to the command and to its group. Without the thread (the system
// refused it) the caller takes the signals, and SIGALRM kills after 2 s.
//
// SIGPIPE and SIGXFSZ are ignored: a reader that went away or a file that grew too large is an
// error of the write.
#pragma once

#include <functional>

namespace quorvid::app {

// Opens /dev/null in the place of standard descriptors that are missing: a process started without
// them would get its sockets there. Before anything else.
void openStandardDescriptors();

// Once, before any window (whose own handlers would otherwise come first) and any thread.
void catchStopSignals();
// Any thread.
bool stopRequested();

// Runs the body, which may block for ever, on a detached thread, which owns it. Signals stay with
// the other threads: a read that one interrupts begins its time-out anew. Only those that a fault
// of the thread itself raises and a profiler's are let through. Any thread. Throws Failure when the
// system refuses the thread (a limit on processes or memory); the body is dropped then.
void startWorkerThread(std::function<void()> body);

// Ends the process as the signal does that is ignored here: standard output was closed. Main
// thread.
[[noreturn]] void endByClosedPipe();

// A worker thread is given up that may be inside the library for ever.
void leaveThreadBehind();
// Yields the status; ends the process with it at once, with what was written flushed, where a
// thread was left behind: it must not see the library's data destroyed. Main thread, at the end.
int endProcess(int status);

}  // namespace quorvid::app
