// A picture parameter set, read strictly to its last bit.
#ifndef QUORVID_PLATFORM_LINUX_H264_PPS_H
#define QUORVID_PLATFORM_LINUX_H264_PPS_H

#include <cstdint>
#include <span>

#include "platform/linux/H264Sps.h"

namespace quorvid {

// unit: NAL header first, no start code. True when the unit is a PPS that refers to this SPS, every
// field is in its range and decodable, and the unit ends right after the closing bits.
bool isH264PpsFor(const H264Sps& sps, std::span<const std::uint8_t> unit);

}  // namespace quorvid

#endif
