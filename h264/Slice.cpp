#include "h264/Slice.h"

#include <algorithm>

namespace quorvid::h264 {
namespace {

// Enough for a slice header's first fields, the unit's header and the bytes that keep start codes
// out.
constexpr std::size_t kLongestHeader = 24;
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

std::optional<SliceHeader> parseSliceHeader(const Sps& sps, ByteView unit) {
  unit = unit.first(std::min(unit.size(), kLongestHeader));
  if (!isEscaped(unit)) return std::nullopt;
  const Bytes payload = payloadOf(unit);
  BitReader reader(payload);
  SliceHeader header;
  header.firstMbInSlice = reader.ue(kMaxFrameSizeInMbs - 1);
  header.sliceType = static_cast<SliceType>(reader.ue(9) % 5);
  header.ppsId = reader.ue(255);
  header.frameNum = reader.bits(static_cast<int>(sps.log2MaxFrameNum));
  if (!sps.frameMbsOnly && reader.flag()) {
    header.structure = reader.flag() ? PictureStructure::BottomField : PictureStructure::TopField;
  }
  return reader.failed() ? std::nullopt : std::optional(header);
}

bool WorkBounds::isInOrder(const SliceHeader& slice) {
  if (!last_) return true;
  if (slice.structure == last_->structure) return slice.firstMbInSlice > last_->firstMbInSlice;
  const bool isField =
      slice.structure != PictureStructure::Frame && last_->structure != PictureStructure::Frame;
  const bool isSecond = isField && !secondField_ && slice.firstMbInSlice == 0;
  secondField_ = true;
  return isSecond;
}

std::uint64_t WorkBounds::workOf(SliceType type, std::uint64_t macroblocks,
                                 std::size_t size) const {
  const std::uint64_t samples =
      (stream_.chromaFormatIdc > 1 ? 2U : 1U) * (stream_.bitDepth > 8 ? 2U : 1U);
  switch (type) {
    case SliceType::I:
    case SliceType::SI:
      return samples * kIntraWork * macroblocks;
    case SliceType::B:
      return samples * kBothWaysWork * macroblocks;
    default:
      return samples *
             (macroblocks + kVectorsWork * std::min(macroblocks, kMostVectorsInAByte * size));
  }
}

bool WorkBounds::take(const SliceHeader& slice, std::size_t size) {
  const bool isFrame = slice.structure == PictureStructure::Frame;
  const std::uint32_t end = stream_.frameSizeInMbs() / (isFrame ? 1 : 2);
  const std::uint32_t first =
      slice.firstMbInSlice * (isFrame && stream_.mbAdaptiveFrameField ? 2 : 1);
  if (first >= end || !isInOrder(slice)) return false;
  last_ = slice;
  macroblocks_ += end - first;
  work_ += workOf(slice.sliceType, end - first, size);
  return ++slices_ <= std::max(kMostSlices, stream_.frameHeightInMbs) &&
         (slices_ == 1 || (work_ <= mostWork_ && macroblocks_ <= kMostMacroblocks));
}

}  // namespace quorvid::h264
