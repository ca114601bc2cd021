#include "h264/Pps.h"

#include "h264/BitReader.h"
#include "h264/ScalingLists.h"

namespace quorvid {
namespace {

void readExtension(H264BitReader& reader, const H264Sps& sps) {
  const bool transform8x8 = reader.flag();
  if (reader.flag()) {
    const int lists8x8 = sps.chromaFormat == 3 ? 6 : 2;
    skipH264ScalingLists(reader, transform8x8 ? 6 + lists8x8 : 6);
  }
  reader.signedGolomb(-12, 12);
}

void readFields(H264BitReader& reader, const H264Sps& sps) {
  reader.golomb(255);
  reader.require(reader.golomb(31) == sps.id);
  reader.bits(2);    // entropy coding, field order counts
  reader.golomb(0);  // slice groups: nothing decodes more than one
  reader.golomb(31);
  reader.golomb(31);
  reader.flag();
  reader.require(reader.bits(2) <= 2);
  const auto deeper = static_cast<std::int32_t>(6 * (sps.bitDepth - 8));
  reader.signedGolomb(-26 - deeper, 25);
  reader.signedGolomb(-26, 25);
  reader.signedGolomb(-12, 12);
  reader.bits(3);
  if (reader.hasMore()) {
    readExtension(reader, sps);
  }
}

}  // namespace

bool isH264PpsFor(const H264Sps& sps, std::span<const std::uint8_t> unit) {
  // Forbidden bit clear, reference importance above 0, type 8.
  if (unit.size() < 2 || (unit[0] & 0x9F) != 8 || (unit[0] & 0x60) == 0) {
    return false;
  }
  const auto payload = h264Payload(unit);
  if (!payload) {
    return false;
  }
  H264BitReader reader(*payload);
  readFields(reader, sps);
  return reader.endsHere();
}

}  // namespace quorvid
