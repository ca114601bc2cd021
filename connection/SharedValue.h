// SharedValue: flags and numbers that a worker and its host share without a lock.
//
// The writer's last store releases what it wrote before; a reader that acquires it sees all of it.
#pragma once

#include <atomic>
#include <cstdint>
#include <type_traits>

namespace quorvid {

// Flags are whole bytes of which only bit 0 counts.
inline bool isSet(std::uint8_t* flag) {
  return (std::atomic_ref<std::uint8_t>(*flag).load(std::memory_order_acquire) & 1) != 0;
}

template <class T>
void publish(T* place, std::type_identity_t<T> value) {
  std::atomic_ref<T>(*place).store(value, std::memory_order_release);
}

}  // namespace quorvid
