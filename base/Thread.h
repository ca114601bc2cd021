// Thread: a detached thread with a cancel mark, keeping what its body holds alive while it runs.
//
// Made and controlled by one thread. The body (and whatever it captured) is let go on the new
// thread as soon as it has returned, so a session captured by its own body ends with the last of
// thread and host, on whichever thread that is. No signal is handled on the thread but SIGPROF and
// those of its own faults.
#pragma once

#include <functional>
#include <memory>

namespace quorvid {

class Thread {
 public:
  explicit Thread(std::function<void()> body);
  ~Thread();
  Thread(const Thread&) = delete;
  Thread& operator=(const Thread&) = delete;

  // Begins the body once; later calls do nothing. isExecuting() is true by the time start() returns
  // unless the body already ended. A thread that the system refuses is logged; its body is dropped,
  // and the result is false.
  bool start();
  // Sets a mark that nothing polls; the body goes on.
  void cancel();
  bool isExecuting() const;
  bool isCancelled() const;

 private:
  struct State;
  std::shared_ptr<State> state_;
};

}  // namespace quorvid
