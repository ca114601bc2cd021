// Scaling lists, which both kinds of parameter sets may carry.
#pragma once

#include "h264/BitReader.h"

namespace quorvid {

// Reads past `count` lists, the first six of 16 numbers, the others of 64.
inline void skipH264ScalingLists(H264BitReader& reader, int count) {
  for (int list = 0; list < count; ++list) {
    if (!reader.flag()) {
      continue;
    }
    int next = 8;
    for (int left = list < 6 ? 16 : 64, last = 8; left > 0 && next != 0; --left, last = next) {
      next = (last + reader.signedGolomb(-128, 127) + 256) % 256;
    }
  }
}

}  // namespace quorvid
