// WorkerThread: how the tools start a thread for something that may block for ever.
#pragma once

#include <functional>
#include <string>

namespace quorvid::app {

// Runs the body on a detached thread, which owns it. Signals stay with the other threads: a read
// that one interrupts begins its time-out anew. Only those that a fault of the thread itself raises
// and a profiler's are let through. Any thread.
// Empty when the thread runs, else why the system refused it (a limit on processes or memory); the
// body is dropped then.
std::string startWorkerThread(std::function<void()> body);

}  // namespace quorvid::app
