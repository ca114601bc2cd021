// A picture parameter set, read strictly to its last bit.
#pragma once

#include <cstdint>
#include <span>

#include "h264/Sps.h"

namespace quorvid {

// unit: NAL header first, no start code. True when the unit is a PPS that refers to this SPS, every
// field is in its range and decodable, and the unit ends right after the closing bits.
bool isH264PpsFor(const H264Sps& sps, std::span<const std::uint8_t> unit);

}  // namespace quorvid
