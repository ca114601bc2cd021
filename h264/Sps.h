// H264Sps: what a sequence parameter set says, read strictly to its last bit.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace quorvid {

// What level 5.1 allows, in macroblocks of 16 by 16 pixels: the largest picture, and all pictures
// that a decoder keeps. Larger numbers are refused whatever level a stream states.
inline constexpr std::uint32_t kLargestPictureInMacroblocks = 36864;
inline constexpr std::uint32_t kKeptPicturesInMacroblocks = 184320;

struct H264Sps {
  std::uint32_t profile = 0, level = 0, id = 0;
  std::uint32_t chromaFormat = 1;  // 0: luma only, 1: 4:2:0, 2: 4:2:2, 3: 4:4:4
  std::uint32_t bitDepth = 8;
  int frameNumberBits = 4;
  std::uint32_t orderCountType = 0;
  std::uint32_t referenceFrames = 0;
  std::uint32_t widthInMacroblocks = 0, heightInMacroblocks = 0;  // of a frame
  bool framesOnly = true;                                         // else a picture may be a field
  bool pairsInFrames = false;  // macroblocks of a frame come in pairs, one above the other (MBAFF)
  // Bit positions in the payload: of the flag that says whether usability information follows, and,
  // where it does, of the flag that says whether reordering limits follow (the last of all fields).
  std::size_t usabilityFlagAt = 0;
  std::optional<std::size_t> limitsFlagAt;
  bool hasLimits = false;

  std::uint32_t macroblocks() const { return widthInMacroblocks * heightInMacroblocks; }
  // Pictures leave in the order in which they come.
  bool neverReorders() const { return profile == 66 || orderCountType == 2; }
};

// unit: NAL header first, no start code. Nothing unless every field is in its range, the picture is
// one that can be decoded and shown, and the unit ends right after the closing bits.
std::optional<H264Sps> parseH264Sps(std::span<const std::uint8_t> unit);

}  // namespace quorvid
