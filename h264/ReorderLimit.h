// Tells a decoder, in the SPS that it gets, that pictures leave in the order in which they come.
//
// Without that word libavcodec guesses from the picture order counts, and one damaged slice header
// can make it hold a picture back for the rest of the session.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "h264/Sps.h"

namespace quorvid {

// unit: the SPS that `sps` was parsed from. A copy that limits reordering to 0 pictures, or an
// unchanged one when the stream can reorder and states limits of its own. A live stream with
// neither is taken to be in order; pictures that come out of it in another order are dropped.
std::vector<std::uint8_t> withReorderLimit(const H264Sps& sps, std::span<const std::uint8_t> unit);

}  // namespace quorvid
