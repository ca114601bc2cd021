// Wake: tells a host's thread that there is something for it: by a descriptor that its loop can
// sleep on, by a handler, and by the bell of its run loop.
#pragma once

#include <functional>
#include <memory>
#include <mutex>

namespace quorvid {

class LoopBell;

class Wake {
 public:
  // bell: rung with every signal, unless it is null.
  explicit Wake(std::shared_ptr<LoopBell> bell = nullptr);
  ~Wake();
  Wake(const Wake&) = delete;
  Wake& operator=(const Wake&) = delete;

  int descriptor() const { return descriptor_; }
  void setHandler(std::function<void()> handler);
  // Makes the descriptor readable and calls the handler, unless it is readable already. Any thread.
  void signal();
  // False when there was no signal since the last call.
  bool clear();

 private:
  const int descriptor_;
  const std::shared_ptr<LoopBell> bell_;
  std::mutex mutex_;  // guards what follows; not held while the handler runs
  bool isSet_ = false;
  std::shared_ptr<const std::function<void()>> handler_;
};

}  // namespace quorvid
