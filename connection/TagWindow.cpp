#include "connection/TagWindow.h"

#include <cstring>

namespace quorvid {

void shiftIntoWindow(std::uint8_t* window, std::uint8_t byte) {
  memmove(window, window + 1, kTagSize - 1);
  window[kTagSize - 1] = byte;
}

bool windowHolds(const std::uint8_t* window, const char* tag) {
  return memcmp(window, tag, kTagSize) == 0;
}

}  // namespace quorvid
