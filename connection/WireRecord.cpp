#include "connection/WireRecord.h"

#include <cstdio>
#include <cstdlib>

namespace quorvid {

void copyFixedText(char* field, std::size_t width, const char* text, const char* name) {
  if (text == nullptr) return;
  const std::size_t length = strnlen(text, width);
  if (length == width) {
    fprintf(stderr, "Quorvid: %s is longer than the %zu characters a request carries\n", name,
            width - 1);
    abort();
  }
  memcpy(field, text, length);
}

void formatChannel(char (&digits)[2], std::int32_t channel) {
  char text[12];  // "-2147483648" and NUL
  if (snprintf(text, sizeof text, "%02d", channel) != sizeof digits) {
    fprintf(stderr, "Quorvid: channel %d does not fit the two digits a request carries\n", channel);
    abort();
  }
  memcpy(digits, text, sizeof digits);
}

std::int32_t following(std::int32_t number) {
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(number) + 1U);
}

void shiftIntoWindow(std::uint8_t* window, std::uint8_t byte) {
  memmove(window, window + 1, kTagSize - 1);
  window[kTagSize - 1] = byte;
}

bool windowHolds(const std::uint8_t* window, const char* tag) {
  return memcmp(window, tag, kTagSize) == 0;
}

}  // namespace quorvid
