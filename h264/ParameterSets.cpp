#include "h264/ParameterSets.h"

#include <algorithm>

namespace quorvid::h264 {
namespace {

// No set needs more, padding included; the lengths below have 16 bits.
constexpr std::size_t kLargestSet = 4096;

void readPpsExtension(BitReader& reader, const Sps& sps) {
  const bool transform8x8 = reader.flag();
  if (reader.flag()) {
    const int lists8x8 = sps.chromaFormatIdc == 3 ? 6 : 2;
    skipScalingLists(reader, transform8x8 ? 6 + lists8x8 : 6);
  }
  reader.se(-12, 12);
}

Pps readPps(BitReader& reader, const Sps& sps) {
  Pps pps;
  pps.id = reader.ue(255);
  reader.require(reader.ue(31) == sps.id);
  reader.flag();  // entropy coding
  pps.bottomFieldPicOrderInFrame = reader.flag();
  reader.ue(0);  // slice groups: nothing decodes more than one
  for (std::uint32_t& pictures : pps.numRefIdxDefault) pictures = 1 + reader.ue(31);
  pps.weightedPred = reader.flag();
  pps.weightedBipredIdc = reader.bits(2);
  reader.require(pps.weightedBipredIdc <= 2);
  const auto deeper = static_cast<std::int32_t>(6 * (sps.bitDepth - 8));
  reader.se(-26 - deeper, 25);
  reader.se(-26, 25);
  reader.se(-12, 12);
  reader.bits(2);  // deblocking control, constrained intra prediction
  pps.redundantPicCnt = reader.flag();
  if (reader.hasMore()) readPpsExtension(reader, sps);
  return pps;
}

void writeRestriction(const Sps& sps, BitWriter& writer) {
  writer.bits(0b11, 2);  // limits follow; motion vectors may point outside the picture
  writer.ue(0);          // bytes of a picture, bits of a macroblock: any
  writer.ue(0);
  writer.ue(15);  // motion vectors: the longest
  writer.ue(15);
  writer.ue(0);  // pictures that may leave later than in order
  writer.ue(std::max(sps.maxNumRefFrames, 1U));
}

// A copy of the SPS that limits reordering to 0 pictures, or an unchanged one when the stream can
// reorder and states limits of its own.
Bytes withReorderLimit(const Sps& sps, ByteView unit) {
  if (sps.vui.hasRestriction && !sps.neverReorders()) return {unit.begin(), unit.end()};
  BitWriter writer;
  writer.copy(payloadOf(unit), sps.vui.restrictionFlagAt.value_or(sps.vui.flagAt));
  if (!sps.vui.restrictionFlagAt) {
    writer.bits(0b1'0000'0000, 9);  // a VUI follows, and none of its first eight parts
  }
  writeRestriction(sps, writer);
  return writer.unit(unit[0]);
}

void appendWithLength(Bytes& record, const Bytes& set) {
  record.push_back(static_cast<std::uint8_t>(set.size() >> 8));
  record.push_back(static_cast<std::uint8_t>(set.size() & 0xFF));
  record.insert(record.end(), set.begin(), set.end());
}

}  // namespace

std::optional<Pps> parsePps(const Sps& sps, ByteView unit) {
  // Forbidden bit clear, reference importance above 0, type 8.
  if (unit.empty() || (unit[0] & 0x9F) != 8 || (unit[0] & 0x60) == 0 || !isEscaped(unit)) {
    return std::nullopt;
  }
  const Bytes payload = payloadOf(unit);
  BitReader reader(payload);
  const Pps pps = readPps(reader, sps);
  return reader.endsHere() ? std::optional(pps) : std::nullopt;
}

Bytes withoutVui(const Sps& sps, ByteView unit) {
  BitWriter writer;
  writer.copy(payloadOf(unit), sps.vui.flagAt);
  writer.bits(0, 1);
  return writer.unit(unit[0]);
}

std::optional<ParameterSets> ParameterSets::make(ByteView sps, ByteView pps) {
  if (sps.size() > kLargestSet || pps.size() > kLargestSet) return std::nullopt;
  sps = withoutPadding(sps);
  pps = withoutPadding(pps);
  const auto parsed = parseSps(sps);
  const auto picture = parsed ? parsePps(*parsed, pps) : std::nullopt;
  if (!picture) return std::nullopt;
  return ParameterSets{withReorderLimit(*parsed, sps), Bytes(pps.begin(), pps.end()), *parsed,
                       *picture};
}

Bytes ParameterSets::avcRecord() const {
  Bytes record{1, sps[1], sps[2], sps[3], 0xFF, 0xE1};
  appendWithLength(record, sps);
  record.push_back(1);
  appendWithLength(record, pps);
  return record;
}

}  // namespace quorvid::h264
