#pragma once

#include <vector>

#include "sim/media/Av.h"
#include "sim/wire/Bytes.h"

namespace quorvid::sim {

// The NAL units of a byte stream, without their start codes (00 00 01 or 00 00 00 01).
std::vector<ByteView> splitUnits(ByteView stream);

// Puts what an encoder made of one picture into the layout in which recorders send it.
//
// Clients cut key frames at fixed places (docs/protocol.md, "Key frames"): the sequence parameter
// set loses its usability information, which carries the colours and the clock, and where it has
// less than 9 bytes then, as that of 352x288, zeros fill its place. Every other frame is one slice.
//
// @param sei puts a unit of supplemental information into key frames
// @param sampleShape stated by the sequence parameter set unless it is 1:1; the set is longer than
// the layout's then, for clients that look for start codes
// @throws SimError when the picture does not fit the layout: several slices, other lengths
Bytes arrangeFrame(ByteView encoded, bool sei, AVRational sampleShape = {1, 1});

// Whether the frame is a key frame of the layout above (or of another one that begins the same).
bool isKeyFrame(ByteView frame);

}  // namespace quorvid::sim
