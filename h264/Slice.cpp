#include "h264/Slice.h"

#include <algorithm>
#include <array>

namespace quorvid::h264 {
namespace {

// Enough for a slice header's first fields, the unit's header and the bytes that keep start codes
// out.
constexpr std::size_t kLongestHeader = 32;
// And for all of it, with the lists and weights that it may carry.
constexpr std::size_t kLongestWholeHeader = 512;
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

SliceHeader readHeader(BitReader& reader, const Sps& sps, bool isIdr) {
  SliceHeader header;
  header.firstMbInSlice = reader.ue(kMaxFrameSizeInMbs - 1);
  header.sliceType = static_cast<SliceType>(reader.ue(9) % 5);
  header.ppsId = reader.ue(255);
  header.frameNum = reader.bits(static_cast<int>(sps.log2MaxFrameNum));
  if (!sps.frameMbsOnly && reader.flag()) {
    header.structure = reader.flag() ? PictureStructure::BottomField : PictureStructure::TopField;
  }
  if (isIdr) reader.ue();
  if (sps.picOrderCntType == 0) {
    header.picOrderCntLsb = reader.bits(static_cast<int>(sps.log2MaxPicOrderCntLsb));
  }
  return header;
}

// What lies between readHeader()'s fields and the lists of references.
void skipPicOrder(BitReader& reader, const ParameterSets& sets, const SliceHeader& header) {
  const Sps& sps = sets.stream;
  const bool hasBottom =
      sets.picture.bottomFieldPicOrderInFrame && header.structure == PictureStructure::Frame;
  if (sps.picOrderCntType == 0) {
    if (hasBottom) reader.se();
  } else if (sps.picOrderCntType == 1 && !sps.deltaPicOrderAlwaysZero) {
    reader.se();
    if (hasBottom) reader.se();
  }
  if (sets.picture.redundantPicCnt) reader.ue(127);
}

// Changes of a list's order: operations 0 to 2 with a number each, 3 ends.
void skipListChanges(BitReader& reader) {
  if (!reader.flag()) return;
  while (!reader.failed() && reader.ue(3) != 3) reader.ue();
}

void skipWeights(BitReader& reader, const Sps& sps, std::uint32_t pictures) {
  for (; pictures > 0 && !reader.failed(); --pictures) {
    for (int values : {2, 4}) {  // weight and offset: of luma, of both chroma planes
      if ((values == 4 && sps.chromaFormatIdc == 0) || !reader.flag()) continue;
      while (values-- > 0) reader.se();
    }
  }
}

void skipLists(BitReader& reader, const ParameterSets& sets, SliceType type) {
  const bool isB = type == SliceType::B;
  const int lists = isB ? 2 : type == SliceType::P || type == SliceType::SP ? 1 : 0;
  if (lists == 0) return;
  auto pictures = sets.picture.numRefIdxDefault;
  if (isB) reader.flag();  // how direct blocks find their vectors
  if (reader.flag()) {
    for (int list = 0; list < lists; ++list) pictures[list] = 1 + reader.ue(31);
  }
  for (int list = 0; list < lists; ++list) skipListChanges(reader);
  if (isB ? sets.picture.weightedBipredIdc != 1 : !sets.picture.weightedPred) return;
  reader.ue(7);
  if (sets.stream.chromaFormatIdc != 0) reader.ue(7);
  for (int list = 0; list < lists; ++list) skipWeights(reader, sets.stream, pictures[list]);
}

}  // namespace

std::optional<SliceHeader> parseSliceHeader(const Sps& sps, ByteView unit) {
  unit = unit.first(std::min(unit.size(), kLongestHeader));
  if (!isEscaped(unit)) return std::nullopt;
  std::array<std::uint8_t, kLongestHeader> room;
  BitReader reader(payloadOf(unit, room));
  const SliceHeader header = readHeader(reader, sps, (unit[0] & 0x1F) == 5);
  return reader.failed() ? std::nullopt : std::optional(header);
}

bool resetsFrameNum(const ParameterSets& sets, ByteView unit) {
  const bool isReference = (unit[0] & 0x60) != 0;
  if (!isReference || (unit[0] & 0x1F) != 1) return false;  // an IDR picture begins anew by itself
  std::array<std::uint8_t, kLongestWholeHeader> room;
  BitReader reader(payloadOf(unit, room));
  const SliceHeader header = readHeader(reader, sets.stream, false);
  if (header.ppsId != sets.picture.id) return false;
  skipPicOrder(reader, sets, header);
  skipLists(reader, sets, header.sliceType);
  if (!reader.flag()) return false;  // marked by age alone
  for (std::uint32_t operation = reader.ue(6); operation != 0; operation = reader.ue(6)) {
    if (reader.failed()) return false;
    if (operation == 5) return true;
    reader.ue();
    if (operation == 3) reader.ue();
  }
  return false;
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
      std::uint64_t{stream_.chromaFormatIdc > 1 ? 2U : 1U} * (stream_.bitDepth > 8 ? 2U : 1U);
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
