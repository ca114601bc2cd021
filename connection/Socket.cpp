#include "connection/Socket.h"

#include <sys/socket.h>
#include <unistd.h>

#include <mutex>
#include <utility>

#include "quorvid/connection/VehicleConnection.h"

namespace quorvid {
namespace {

std::mutex lock;  // guards first, and each socket's next_, descriptor_ and interrupted_
Socket* first = nullptr;

}  // namespace

Socket::Socket(const std::uint8_t* flag, std::int32_t descriptor)
    : flag_(flag), descriptor_(descriptor) {
  const std::lock_guard guard(lock);
  next_ = std::exchange(first, this);
}

Socket::~Socket() {
  close();
  const std::lock_guard guard(lock);
  Socket** link = &first;
  while (*link != this) link = &(*link)->next_;
  *link = next_;
}

void Socket::adopt(std::int32_t descriptor) {
  close();
  const std::lock_guard guard(lock);
  descriptor_ = descriptor;
  if (interrupted_) shutDown();
}

void Socket::release() {
  const std::lock_guard guard(lock);
  descriptor_ = -1;
}

// The system's close may wait, so it is called without the lock.
void Socket::close() {
  std::int32_t released = -1;
  {
    const std::lock_guard guard(lock);
    released = std::exchange(descriptor_, -1);
  }
  if (released > 0) ::close(released);
}

void Socket::interrupt(const std::uint8_t* flag) {
  const std::lock_guard guard(lock);
  for (Socket* socket = first; socket != nullptr; socket = socket->next_) {
    if (socket->flag_ != flag) continue;
    socket->interrupted_ = true;
    socket->shutDown();
  }
}

void Socket::shutDown() {
  if (isOpen()) ::shutdown(descriptor_, SHUT_RDWR);
}

}  // namespace quorvid

void CancelVideoSource(std::uint8_t* isCancel) {
  if (isCancel == nullptr) return;
  std::atomic_ref<std::uint8_t>(*isCancel).fetch_or(1, std::memory_order_release);
  quorvid::Socket::interrupt(isCancel);
}

void StopCarGPS(std::uint8_t* run) {
  if (run == nullptr) return;
  std::atomic_ref<std::uint8_t>(*run).fetch_and(0xFE, std::memory_order_release);
  quorvid::Socket::interrupt(run);
}
