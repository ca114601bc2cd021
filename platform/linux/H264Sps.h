// H264Sps: what a sequence parameter set says, read strictly to its last bit.
#ifndef QUORVID_PLATFORM_LINUX_H264_SPS_H
#define QUORVID_PLATFORM_LINUX_H264_SPS_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace quorvid {

// The largest picture of level 5.2, in macroblocks of 16 by 16 pixels.
inline constexpr std::uint32_t kLargestPictureInMacroblocks = 36864;

struct H264Sps {
  std::uint32_t profile = 0, level = 0, id = 0;
  std::uint32_t chromaFormat = 1;  // 0: luma only, 1: 4:2:0, 2: 4:2:2, 3: 4:4:4
  std::uint32_t bitDepth = 8;
  std::uint32_t orderCountType = 0;
  std::uint32_t referenceFrames = 0;
  std::uint32_t widthInMacroblocks = 0, heightInMacroblocks = 0;
  // Bit positions in the payload: of the flag that says whether usability information follows, and,
  // where it does, of the flag that says whether reordering limits follow (the last of all fields).
  std::size_t usabilityFlagAt = 0;
  std::optional<std::size_t> limitsFlagAt;
  bool hasLimits = false;

  // Pictures leave in the order in which they come.
  bool neverReorders() const { return profile == 66 || orderCountType == 2; }
};

// unit: NAL header first, no start code. Nothing unless every field is in its range, the picture is
// one that can be decoded and shown, and the unit ends right after the closing bits.
std::optional<H264Sps> parseH264Sps(std::span<const std::uint8_t> unit);

}  // namespace quorvid

#endif
