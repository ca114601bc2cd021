#include "connection/Socket.h"

#include <unistd.h>

namespace quorvid {

void Socket::close() {
  if (isOpen()) ::close(descriptor_);
  descriptor_ = -1;
}

}  // namespace quorvid
