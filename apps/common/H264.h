// H264: what a diagnostic says of a frame's units.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "apps/common/Arguments.h"
#include "h264/Units.h"

namespace quorvid::app {

// The picture size (cropping taken off) that a sequence parameter set states; `sps` begins at its
// header byte. Nothing when it is cut short or out of bounds.
std::optional<PixelSize> sizeOfSps(h264::ByteView sps);

// True for the key frame that the live view relies on: start codes of 4 bytes, a parameter set of 9
// bytes, one of 4, perhaps an SEI unit of 5, then the key picture.
bool hasFixedKeyLayout(const std::vector<h264::Unit>& units);

// For people: "SPS 9, PPS 4, key slice 12034 bytes".
std::string describeUnits(const std::vector<h264::Unit>& units);

}  // namespace quorvid::app
