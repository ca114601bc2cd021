// Rewrites the SPS of a baseline or main profile stream into the 9 bytes that recorders send.
#ifndef QUORVID_TESTS_SUPPORT_SPS_REWRITER_H
#define QUORVID_TESTS_SUPPORT_SPS_REWRITER_H

#include <cstdint>
#include <vector>

namespace quorvid::test {

// sps: NAL header included, no start code, no cropping. Drops the VUI and raises the number of
// reference frames until the unit has `size` bytes; empty when no number does.
std::vector<std::uint8_t> rewriteSps(const std::vector<std::uint8_t>& sps, std::size_t size);

}  // namespace quorvid::test

#endif
