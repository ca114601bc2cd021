#include "h264/WorkBounds.h"

#include <algorithm>

namespace quorvid {
namespace {

// Encoders that cut slices at the size of a network packet come to about 110 of them in the largest
// unit.
constexpr std::uint32_t kMostSlices = 128;
constexpr std::uint64_t kMostMacroblocks = 1'500'000;
// One with sixteen motion vectors takes five times as long as a skipped one, and at least two bits.
constexpr std::uint64_t kVectorsWork = 4;
constexpr std::uint64_t kMostVectorsInAByte = 4;
constexpr std::uint64_t kIntraWork = 2;
// Skipped ones of a B slice already have up to 32 vectors.
constexpr std::uint64_t kBothWaysWork = 10;

}  // namespace

bool H264WorkBounds::isInOrder(const H264SliceHeader& slice) {
  if (!last_) {
    return true;
  }
  if (slice.picture == last_->picture) {
    return slice.firstMacroblock > last_->firstMacroblock;
  }
  const bool isField = slice.picture != H264Picture::Frame && last_->picture != H264Picture::Frame;
  const bool isSecond = isField && !secondField_ && slice.firstMacroblock == 0;
  secondField_ = true;
  return isSecond;
}

std::uint64_t H264WorkBounds::workOf(H264SliceType type, std::uint64_t macroblocks,
                                     std::size_t size) const {
  const std::uint64_t samples =
      (stream_.chromaFormat > 1 ? 2U : 1U) * (stream_.bitDepth > 8 ? 2U : 1U);
  switch (type) {
    case H264SliceType::I:
    case H264SliceType::SwitchingI:
      return samples * kIntraWork * macroblocks;
    case H264SliceType::B:
      return samples * kBothWaysWork * macroblocks;
    default:
      return samples *
             (macroblocks + kVectorsWork * std::min(macroblocks, kMostVectorsInAByte * size));
  }
}

bool H264WorkBounds::take(const H264SliceHeader& slice, std::size_t size) {
  const bool isFrame = slice.picture == H264Picture::Frame;
  const std::uint32_t end = stream_.macroblocks() / (isFrame ? 1 : 2);
  const std::uint32_t first = slice.firstMacroblock * (isFrame && stream_.pairsInFrames ? 2 : 1);
  if (first >= end || !isInOrder(slice)) {
    return false;
  }
  last_ = slice;
  macroblocks_ += end - first;
  work_ += workOf(slice.type, end - first, size);
  return ++slices_ <= std::max(kMostSlices, stream_.heightInMacroblocks) &&
         (slices_ == 1 || (work_ <= mostWork_ && macroblocks_ <= kMostMacroblocks));
}

}  // namespace quorvid
