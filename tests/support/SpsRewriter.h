// Rewrites the SPS of a baseline or main profile stream into the 9 bytes that recorders send.
#pragma once

#include <cstdint>
#include <vector>

namespace quorvid::test {

// sps: NAL header included, no start code, no cropping. Drops the VUI; zeros fill the unit up to
// `size` bytes.
std::vector<std::uint8_t> rewriteSps(const std::vector<std::uint8_t>& sps, std::size_t size);

}  // namespace quorvid::test
