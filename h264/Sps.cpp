#include "h264/Sps.h"

#include <algorithm>
#include <array>

namespace quorvid::h264 {
namespace {

constexpr std::array<std::uint32_t, 7> kProfiles{66, 77, 88, 100, 110, 122, 244};
constexpr std::array<std::uint32_t, 20> kLevels{9,  10, 11, 12, 13, 20, 21, 22, 30, 31,
                                                32, 40, 41, 42, 50, 51, 52, 60, 61, 62};
constexpr std::array<std::uint32_t, 9> kProfilesWithChromaFields{100, 110, 122, 244, 44,
                                                                 83,  86,  118, 128};
// The longest side at a level's frame size: the square root of eight times its macroblocks.
constexpr std::uint32_t kLongestSideInMbs = 543;
constexpr std::uint32_t kAnySideInMbs = 0xFFFF;
// What encoders write before the VUI needs a fraction of this.
constexpr std::size_t kMostPeeked = 512;

constexpr std::uint32_t kExtendedAspect = 255;
constexpr std::uint32_t kMostStretch = 16;
// By aspect_ratio_idc; 0 says nothing.
constexpr std::array<SampleAspect, 17> kSampleAspects{{{1, 1},
                                                       {1, 1},
                                                       {12, 11},
                                                       {10, 11},
                                                       {16, 11},
                                                       {40, 33},
                                                       {24, 11},
                                                       {20, 11},
                                                       {32, 11},
                                                       {80, 33},
                                                       {18, 11},
                                                       {15, 11},
                                                       {64, 33},
                                                       {160, 99},
                                                       {4, 3},
                                                       {3, 2},
                                                       {2, 1}}};

template <std::size_t N>
bool isOneOf(const std::array<std::uint32_t, N>& values, std::uint32_t value) {
  return std::find(values.begin(), values.end(), value) != values.end();
}

void readChroma(BitReader& reader, Sps& sps) {
  if (!isOneOf(kProfilesWithChromaFields, sps.profileIdc)) return;
  sps.chromaFormatIdc = reader.ue(3);
  sps.separateColourPlanes = sps.chromaFormatIdc == 3 && reader.flag();
  sps.bitDepth = 8 + reader.ue(6);
  sps.bitDepthChroma = 8 + reader.ue(6);
  sps.transformBypass = reader.flag();
  if (reader.flag()) skipScalingLists(reader, sps.chromaFormatIdc == 3 ? 12 : 8);
}

void readPicOrderCnt(BitReader& reader, Sps& sps) {
  sps.picOrderCntType = reader.ue(2);
  if (sps.picOrderCntType == 0) {
    sps.log2MaxPicOrderCntLsb = 4 + reader.ue(12);
  } else if (sps.picOrderCntType == 1) {
    sps.deltaPicOrderAlwaysZero = reader.flag();
    reader.se();
    reader.se();
    for (std::uint32_t left = reader.ue(255); left > 0; --left) {
      reader.se();
    }
  }
}

// Cropping is counted in chroma samples (and field lines).
void readCropping(BitReader& reader, Sps& sps) {
  const bool isHalvedX = sps.chromaFormatIdc == 1 || sps.chromaFormatIdc == 2;
  const bool isHalvedY = sps.chromaFormatIdc == 1;
  const std::int64_t left = reader.ue();
  sps.cropX = (left + reader.ue()) * (isHalvedX ? 2 : 1);
  const std::int64_t top = reader.ue();
  sps.cropY = (top + reader.ue()) * (isHalvedY ? 2 : 1) * (sps.frameMbsOnly ? 1 : 2);
}

void readSize(BitReader& reader, Sps& sps) {
  sps.picWidthInMbs = 1 + reader.ue(kAnySideInMbs);
  sps.frameHeightInMbs = 1 + reader.ue(kAnySideInMbs);
  sps.frameMbsOnly = reader.flag();
  if (!sps.frameMbsOnly) {
    sps.frameHeightInMbs *= 2;
    sps.mbAdaptiveFrameField = reader.flag();
  }
  sps.direct8x8Inference = reader.flag();
  if (reader.flag()) readCropping(reader, sps);
}

Sps readToVui(BitReader& reader) {
  Sps sps;
  sps.profileIdc = reader.bits(8);
  sps.constraintFlags = reader.bits(8);
  sps.levelIdc = reader.bits(8);
  sps.id = reader.ue(31);
  readChroma(reader, sps);
  sps.log2MaxFrameNum = 4 + reader.ue(12);
  readPicOrderCnt(reader, sps);
  sps.maxNumRefFrames = reader.ue(16);
  sps.gapsInFrameNumAllowed = reader.flag();
  readSize(reader, sps);
  sps.vui.flagAt = reader.position();
  return sps;
}

bool isDecodable(const Sps& sps) {
  const std::uint32_t mapUnits = sps.frameHeightInMbs / (sps.frameMbsOnly ? 1 : 2);
  return isOneOf(kProfiles, sps.profileIdc) && (sps.constraintFlags & 3) == 0 &&
         isOneOf(kLevels, sps.levelIdc) && !sps.separateColourPlanes && !sps.transformBypass &&
         (sps.bitDepth == 8 || sps.bitDepth == 10) && sps.bitDepthChroma == sps.bitDepth &&
         (sps.frameMbsOnly || sps.direct8x8Inference) && sps.picWidthInMbs <= kLongestSideInMbs &&
         mapUnits <= kLongestSideInMbs && sps.frameSizeInMbs() <= kMaxFrameSizeInMbs &&
         sps.maxNumRefFrames * sps.frameSizeInMbs() <= kMaxDpbMbs && sps.displayedWidth() > 0 &&
         sps.displayedHeight() > 0;
}

// The buffer model that the stream keeps.
void readHrd(BitReader& reader) {
  const std::uint32_t count = 1 + reader.ue(31);
  reader.bits(8);
  for (std::uint32_t i = 0; i < count; ++i) {
    reader.ue();
    reader.ue();
    reader.flag();
  }
  reader.bits(20);
}

void readRestriction(BitReader& reader, const Sps& sps) {
  reader.flag();
  for (int i = 0; i < 4; ++i) {
    reader.ue(16);
  }
  const std::uint32_t reordered = reader.ue(16);
  const std::uint32_t kept = reader.ue(16);
  reader.require(reordered <= kept && kept * sps.frameSizeInMbs() <= kMaxDpbMbs);
}

// aspect_ratio_idc 8: a number from the table, or 255 and sar_width 16, sar_height 16. Square for
// what is unspecified, reserved, 0, or so far from square that it can only be a mistake: who makes
// a picture in its display shape would make a huge one.
SampleAspect readSampleAspect(BitReader& reader) {
  const std::uint32_t index = reader.bits(8);
  SampleAspect aspect = index < kSampleAspects.size() ? kSampleAspects[index] : SampleAspect{};
  if (index == kExtendedAspect) {
    aspect.width = reader.bits(16);
    aspect.height = reader.bits(16);
  }
  const bool isPlausible = aspect.width > 0 && aspect.height > 0 &&
                           aspect.width <= kMostStretch * aspect.height &&
                           aspect.height <= kMostStretch * aspect.width;
  return isPlausible ? aspect : SampleAspect{};
}

void readShapeAndColours(BitReader& reader, Sps& sps) {
  if (reader.flag()) sps.sampleAspect = readSampleAspect(reader);
  if (reader.flag()) reader.flag();
  if (reader.flag()) {
    reader.bits(4);
    if (reader.flag()) reader.bits(24);
  }
  if (reader.flag()) {
    reader.ue(5);
    reader.ue(5);
  }
}

void readVui(BitReader& reader, Sps& sps) {
  readShapeAndColours(reader, sps);
  if (reader.flag()) {
    reader.bits(32);
    reader.bits(32);
    reader.flag();
  }
  bool hasHrd = false;
  for (int i = 0; i < 2; ++i) {
    if (reader.flag()) {
      hasHrd = true;
      readHrd(reader);
    }
  }
  if (hasHrd) reader.flag();
  reader.flag();
  sps.vui.restrictionFlagAt = reader.position();
  sps.vui.hasRestriction = reader.flag();
  if (sps.vui.hasRestriction) readRestriction(reader, sps);
}

}  // namespace

std::optional<Sps> parseSps(ByteView unit) {
  // Forbidden bit clear, reference importance above 0, type 7.
  if (unit.empty() || (unit[0] & 0x9F) != 7 || (unit[0] & 0x60) == 0 || !isEscaped(unit)) {
    return std::nullopt;
  }
  const Bytes payload = payloadOf(unit);
  BitReader reader(payload);
  Sps sps = readToVui(reader);
  reader.require(isDecodable(sps));
  if (reader.flag()) readVui(reader, sps);
  return reader.endsHere() ? std::optional(sps) : std::nullopt;
}

std::optional<Sps> peekSps(ByteView unit) {
  if (unit.empty() || (unit[0] & 0x1F) != 7) return std::nullopt;
  const Bytes payload = payloadOf(unit.first(std::min(unit.size(), kMostPeeked)));
  BitReader reader(payload);
  const Sps sps = readToVui(reader);
  return reader.failed() ? std::nullopt : std::optional(sps);
}

void skipScalingLists(BitReader& reader, int count) {
  for (int list = 0; list < count; ++list) {
    if (!reader.flag()) continue;
    int next = 8;
    for (int left = list < 6 ? 16 : 64, last = 8; left > 0 && next != 0; --left, last = next) {
      next = (last + reader.se(-128, 127) + 256) % 256;
    }
  }
}

}  // namespace quorvid::h264
