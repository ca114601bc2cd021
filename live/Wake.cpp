#include "live/Wake.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <utility>

#include "quorvid/base/Log.h"
#include "view/LoopBell.h"

namespace quorvid {

Wake::Wake(std::shared_ptr<LoopBell> bell)
    : descriptor_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)), bell_(std::move(bell)) {}

Wake::~Wake() {
  if (descriptor_ >= 0) close(descriptor_);
}

void Wake::setHandler(std::function<void()> handler) {
  auto kept = handler ? std::make_shared<const std::function<void()>>(std::move(handler)) : nullptr;
  const std::lock_guard lock(mutex_);
  handler_.swap(kept);
}

void Wake::signal() {
  std::shared_ptr<const std::function<void()>> handler;
  {
    const std::lock_guard lock(mutex_);
    if (std::exchange(isSet_, true)) return;
    if (descriptor_ >= 0) eventfd_write(descriptor_, 1);
    handler = handler_;
  }
  if (bell_ != nullptr) bell_->ring();
  try {
    if (handler) (*handler)();
  } catch (...) {  // on a thread of the view it would end the process
    logMessage("LiveView: the wake handler threw an exception");
  }
}

bool Wake::clear() {
  const std::lock_guard lock(mutex_);
  eventfd_t count = 0;
  if (isSet_ && descriptor_ >= 0) eventfd_read(descriptor_, &count);
  return std::exchange(isSet_, false);
}

}  // namespace quorvid
