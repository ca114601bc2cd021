// Sps: what a sequence parameter set says.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include "h264/BitStream.h"

namespace quorvid::h264 {

// What level 5.1 allows, in macroblocks of 16 by 16 pixels: the largest frame, and all that a
// decoder keeps. Larger numbers are refused whatever level a stream states.
inline constexpr std::uint32_t kMaxFrameSizeInMbs = 36864;
inline constexpr std::uint32_t kMaxDpbMbs = 184320;

// Where in the payload the usability information stands, and its last part, the limits of
// reordering.
struct Vui {
  std::size_t flagAt = 0;                        // bit position of vui_parameters_present_flag
  std::optional<std::size_t> restrictionFlagAt;  // of bitstream_restriction_flag; with a VUI only
  bool hasRestriction = false;
};

// How wide and high a sample is on the screen.
struct SampleAspect {
  std::uint32_t width = 1, height = 1;
};

struct Sps {
  std::uint32_t profileIdc = 0, constraintFlags = 0, levelIdc = 0, id = 0;
  std::uint32_t chromaFormatIdc = 1;  // 0: luma only, 1: 4:2:0, 2: 4:2:2, 3: 4:4:4
  bool separateColourPlanes = false;
  std::uint32_t bitDepth = 8, bitDepthChroma = 8;
  bool transformBypass = false;  // lossless where the quantiser is 0
  std::uint32_t log2MaxFrameNum = 4;
  std::uint32_t picOrderCntType = 0;
  std::uint32_t log2MaxPicOrderCntLsb = 4;  // of type 0
  bool deltaPicOrderAlwaysZero = false;     // of type 1
  std::uint32_t maxNumRefFrames = 0;
  bool gapsInFrameNumAllowed = false;
  std::uint32_t picWidthInMbs = 0, frameHeightInMbs = 0;
  bool frameMbsOnly = true;           // else a picture may be a field
  bool mbAdaptiveFrameField = false;  // macroblocks of a frame come in pairs, one above the other
  bool direct8x8Inference = false;
  std::int64_t cropX = 0, cropY = 0;  // pixels taken off at left and right, at top and bottom
  SampleAspect sampleAspect;
  Vui vui;

  std::uint32_t frameSizeInMbs() const { return picWidthInMbs * frameHeightInMbs; }
  // Of the picture that is shown; not above 0 when everything is cropped.
  std::int64_t displayedWidth() const { return picWidthInMbs * 16LL - cropX; }
  std::int64_t displayedHeight() const { return frameHeightInMbs * 16LL - cropY; }
  // Of the same picture where it is shown, width to height: 4:3 for 720x576 with samples of 16:15.
  double displayAspect() const {
    return static_cast<double>(displayedWidth() * sampleAspect.width) /
           static_cast<double>(displayedHeight() * sampleAspect.height);
  }
  // Pictures leave in the order in which they come.
  bool neverReorders() const { return profileIdc == 66 || picOrderCntType == 2; }
};

// unit: NAL header first, no start code. Nothing unless every field is in its range, the picture is
// one that can be decoded and shown, and the unit ends right after the closing bits.
std::optional<Sps> parseSps(ByteView unit);

// The fields before the VUI alone, also of streams that can't be decoded here: of other profiles
// and depths, of any size. Whatever lies behind them in `unit` doesn't matter.
std::optional<Sps> peekSps(ByteView unit);

// Reads past `count` scaling lists, which both kinds of parameter sets may carry: the first six of
// 16 numbers, the others of 64.
void skipScalingLists(BitReader& reader, int count);

}  // namespace quorvid::h264
