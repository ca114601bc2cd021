#pragma once

#include <vector>

#include "sim/wire/Bytes.h"

namespace quorvid::sim {

// The NAL units of a byte stream, without their start codes (00 00 01 or 00 00 00 01).
std::vector<ByteView> splitUnits(ByteView stream);

inline unsigned unitType(ByteView unit) {
  return unit.empty() ? 0u : unit[0] & 31u;
}

// Puts what an encoder made of one picture into the layout in which recorders send it.
//
//   key frame   bytes 0-12   00 00 00 01, sequence parameter set of 9 bytes, zeros at its end
//   included
//               bytes 13-20  00 00 00 01, picture parameter set of 4 bytes
//               bytes 21-29  00 00 00 01, supplemental information of 5 bytes (only with `sei`)
//               then         00 00 00 01, the key picture's one slice
//   other       00 00 00 01, one slice
//
// @throws SimError when the picture does not fit the layout: several slices, other lengths
Bytes arrangeFrame(ByteView encoded, bool sei);

// Whether the frame is a key frame of the layout above (or of another one that begins the same).
bool isKeyFrame(ByteView frame);

}  // namespace quorvid::sim
