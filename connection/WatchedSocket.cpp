#include "connection/WatchedSocket.h"

#include <sys/socket.h>
#include <unistd.h>

#include <mutex>
#include <utility>

#include "quorvid/connection/VehicleConnection.h"

namespace quorvid {
namespace {

std::mutex lock;
WatchedSocket* first = nullptr;  // guarded by lock, as are the sockets' links and descriptors

}  // namespace

WatchedSocket::WatchedSocket(const std::uint8_t* flag) : flag_(flag) {
  const std::lock_guard guard(lock);
  next_ = std::exchange(first, this);
}

WatchedSocket::~WatchedSocket() {
  close();
  const std::lock_guard guard(lock);
  WatchedSocket** link = &first;
  while (*link != this) link = &(*link)->next_;
  *link = next_;
}

void WatchedSocket::adopt(std::int32_t descriptor) {
  close();
  const std::lock_guard guard(lock);
  descriptor_ = descriptor;
  if (interrupted_) shutDown();
}

void WatchedSocket::close() {
  std::int32_t released = -1;
  {
    const std::lock_guard guard(lock);
    released = std::exchange(descriptor_, -1);
  }
  if (released > 0) ::close(released);
}

void WatchedSocket::interrupt(const std::uint8_t* flag) {
  const std::lock_guard guard(lock);
  for (WatchedSocket* socket = first; socket != nullptr; socket = socket->next_) {
    if (socket->flag_ != flag) continue;
    socket->interrupted_ = true;
    socket->shutDown();
  }
}

void WatchedSocket::shutDown() {
  if (isOpen()) ::shutdown(descriptor_, SHUT_RDWR);
}

}  // namespace quorvid

void CancelVideoSource(std::uint8_t* isCancel) {
  if (isCancel == nullptr) return;
  std::atomic_ref<std::uint8_t>(*isCancel).fetch_or(1, std::memory_order_release);
  quorvid::WatchedSocket::interrupt(isCancel);
}

void StopCarGPS(std::uint8_t* run) {
  if (run == nullptr) return;
  std::atomic_ref<std::uint8_t>(*run).fetch_and(0xFE, std::memory_order_release);
  quorvid::WatchedSocket::interrupt(run);
}
