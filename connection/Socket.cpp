#include "connection/Socket.h"

#include <unistd.h>

namespace quorvid {

void Socket::open(int32_t descriptor) {
  close();
  descriptor_ = descriptor;
}

void Socket::close() {
  if (isOpen()) ::close(descriptor_);
  descriptor_ = -1;
}

}  // namespace quorvid
