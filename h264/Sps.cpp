#include "h264/Sps.h"

#include <algorithm>
#include <array>

#include "h264/BitReader.h"
#include "h264/ScalingLists.h"

namespace quorvid {
namespace {

constexpr std::array<std::uint32_t, 7> kProfiles{66, 77, 88, 100, 110, 122, 244};
constexpr std::array<std::uint32_t, 20> kLevels{9,  10, 11, 12, 13, 20, 21, 22, 30, 31,
                                                32, 40, 41, 42, 50, 51, 52, 60, 61, 62};
// The longest side at a level's frame size: the square root of eight times its macroblocks.
constexpr std::uint32_t kLongestSideInMacroblocks = 543;
constexpr std::int32_t kLowest = INT32_MIN + 1;
constexpr std::int32_t kHighest = INT32_MAX;

template <std::size_t N>
bool isOneOf(const std::array<std::uint32_t, N>& values, std::uint32_t value) {
  return std::find(values.begin(), values.end(), value) != values.end();
}

void readHeader(H264BitReader& reader, H264Sps& sps) {
  sps.profile = reader.bits(8);
  reader.bits(6);  // constraint flags
  reader.require(reader.bits(2) == 0);
  sps.level = reader.bits(8);
  sps.id = reader.golomb(31);
  reader.require(isOneOf(kProfiles, sps.profile) && isOneOf(kLevels, sps.level));
}

void readSampleFormat(H264BitReader& reader, H264Sps& sps) {
  if (sps.profile < 100) {
    return;
  }
  sps.chromaFormat = reader.golomb(3);
  if (sps.chromaFormat == 3) {
    reader.require(!reader.flag());  // three separate colour planes: nothing decodes them
  }
  sps.bitDepth = 8 + reader.golomb(2);
  reader.require(8 + reader.golomb(2) == sps.bitDepth && sps.bitDepth != 9);
  reader.require(!reader.flag());  // no lossless transform bypass
  if (reader.flag()) {
    skipH264ScalingLists(reader, sps.chromaFormat == 3 ? 12 : 8);
  }
}

void readOrderCount(H264BitReader& reader, H264Sps& sps) {
  sps.orderCountType = reader.golomb(2);
  if (sps.orderCountType == 0) {
    reader.golomb(12);
  } else if (sps.orderCountType == 1) {
    reader.flag();
    reader.signedGolomb(kLowest, kHighest);
    reader.signedGolomb(kLowest, kHighest);
    for (std::uint32_t left = reader.golomb(255); left > 0; --left) {
      reader.signedGolomb(kLowest, kHighest);
    }
  }
}

// Cropping is counted in chroma samples (and field lines); something must be left of the picture.
void readCropping(H264BitReader& reader, const H264Sps& sps) {
  const std::uint32_t unitX = sps.chromaFormat == 1 || sps.chromaFormat == 2 ? 2 : 1;
  const std::uint32_t unitY = (sps.chromaFormat == 1 ? 2 : 1) * (sps.framesOnly ? 1 : 2);
  const std::uint32_t left = reader.golomb(0xFFFF);
  const std::uint32_t right = reader.golomb(0xFFFF);
  const std::uint32_t top = reader.golomb(0xFFFF);
  const std::uint32_t bottom = reader.golomb(0xFFFF);
  reader.require((left + right) * unitX < sps.widthInMacroblocks * 16 &&
                 (top + bottom) * unitY < sps.heightInMacroblocks * 16);
}

void readSize(H264BitReader& reader, H264Sps& sps) {
  sps.widthInMacroblocks = 1 + reader.golomb(kLongestSideInMacroblocks - 1);
  sps.heightInMacroblocks = 1 + reader.golomb(kLongestSideInMacroblocks - 1);
  sps.framesOnly = reader.flag();
  if (!sps.framesOnly) {
    sps.heightInMacroblocks *= 2;
    sps.pairsInFrames = reader.flag();
  }
  const bool inference8x8 = reader.flag();
  reader.require(sps.framesOnly || inference8x8);
  reader.require(sps.macroblocks() <= kLargestPictureInMacroblocks);
  reader.require(sps.referenceFrames * sps.macroblocks() <= kKeptPicturesInMacroblocks);
  if (reader.flag()) {
    readCropping(reader, sps);
  }
}

void readBufferModel(H264BitReader& reader) {
  const std::uint32_t count = 1 + reader.golomb(31);
  reader.bits(8);
  for (std::uint32_t i = 0; i < count; ++i) {
    reader.golomb(0xFFFFFFFE);
    reader.golomb(0xFFFFFFFE);
    reader.flag();
  }
  reader.bits(20);
}

void readLimits(H264BitReader& reader, const H264Sps& sps) {
  reader.flag();
  for (int i = 0; i < 4; ++i) {
    reader.golomb(16);
  }
  const std::uint32_t reordered = reader.golomb(16);
  const std::uint32_t kept = reader.golomb(16);
  reader.require(reordered <= kept && kept * sps.macroblocks() <= kKeptPicturesInMacroblocks);
}

void readColours(H264BitReader& reader) {
  reader.bits(4);
  if (reader.flag()) {
    reader.bits(24);
  }
}

void readUsability(H264BitReader& reader, H264Sps& sps) {
  if (reader.flag() && reader.bits(8) == 255) {
    reader.bits(32);  // a pixel shape of its own
  }
  if (reader.flag()) {
    reader.flag();
  }
  if (reader.flag()) {
    readColours(reader);
  }
  if (reader.flag()) {
    reader.golomb(5);
    reader.golomb(5);
  }
  if (reader.flag()) {
    reader.bits(32);
    reader.bits(32);
    reader.flag();
  }
  bool hasModel = false;
  for (int i = 0; i < 2; ++i) {
    if (reader.flag()) {
      hasModel = true;
      readBufferModel(reader);
    }
  }
  if (hasModel) {
    reader.flag();
  }
  reader.flag();
  sps.limitsFlagAt = reader.position();
  sps.hasLimits = reader.flag();
  if (sps.hasLimits) {
    readLimits(reader, sps);
  }
}

}  // namespace

std::optional<H264Sps> parseH264Sps(std::span<const std::uint8_t> unit) {
  // Forbidden bit clear, reference importance above 0, type 7.
  if (unit.size() < 4 || (unit[0] & 0x9F) != 7 || (unit[0] & 0x60) == 0) {
    return std::nullopt;
  }
  const auto payload = h264Payload(unit);
  if (!payload) {
    return std::nullopt;
  }
  H264BitReader reader(*payload);
  H264Sps sps;
  readHeader(reader, sps);
  readSampleFormat(reader, sps);
  sps.frameNumberBits = 4 + static_cast<int>(reader.golomb(12));
  readOrderCount(reader, sps);
  sps.referenceFrames = reader.golomb(16);
  reader.flag();
  readSize(reader, sps);
  sps.usabilityFlagAt = reader.position();
  if (reader.flag()) {
    readUsability(reader, sps);
  }
  return reader.endsHere() ? std::optional(sps) : std::nullopt;
}

}  // namespace quorvid
