// H264Units: from the length-prefixed unit of a caller to what a decoder may see of it.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "h264/Sps.h"

namespace quorvid {

enum class H264UnitKind : std::uint8_t {
  Picture,  // slices to decode
  Nothing,  // well-formed, but without a slice: no picture is due
  Damaged,  // a prefix that doesn't fit the size, a header or slice no encoder writes, or slices
            // beyond the bounds of H264WorkBounds.h
};

// sample: a length of 4 bytes, most significant byte first, and that many bytes. A caller that
// hands over the rest of an access unit as one has start codes inside, which a single unit can't
// contain: there the unit is taken apart, so that pictures of several slices come out whole.
// `packet` gets the slices and SEI units, each with its length in front; parameter sets inside are
// left out, the session keeps its own. mostWork: see H264WorkBounds.h.
H264UnitKind repackH264Sample(std::span<const std::uint8_t> sample, const H264Sps& stream,
                              std::uint64_t mostWork, std::vector<std::uint8_t>& packet);

}  // namespace quorvid
