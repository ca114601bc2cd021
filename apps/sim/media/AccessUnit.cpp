#include "sim/media/AccessUnit.h"

#include <fmt/format.h>

#include <array>

#include "h264/BitStream.h"
#include "h264/ParameterSets.h"
#include "h264/Units.h"
#include "sim/Error.h"

namespace quorvid::sim {
namespace {

using h264::UnitType;

constexpr std::size_t kSpsBytes = 9;
constexpr std::size_t kPpsBytes = 4;

// Recovery point: payload type 6, 1 byte: recovery_frame_cnt 0, exact_match 1, broken_link 0, no
// slice groups.
constexpr std::array<std::uint8_t, 5> kSei{0x06, 0x06, 0x01, 0xc4, 0x80};

void appendUnit(Bytes& frame, ByteView unit) {
  frame.insert(frame.end(), {0, 0, 0, 1});
  frame.insert(frame.end(), unit.begin(), unit.end());
}

void keepOnly(ByteView& kept, ByteView unit, const char* what) {
  if (!kept.empty()) {
    throw SimError(fmt::format("the encoder made more than one {} for a picture", what));
  }
  kept = unit;
}

// With usability information that holds a sample aspect ratio only.
Bytes withSampleShape(const h264::Sps& sps, ByteView unit, AVRational sampleShape) {
  h264::BitWriter writer;
  writer.copy(h264::payloadOf(unit), sps.vui.flagAt);
  writer.bits(0b11, 2);  // usability information follows; it has a ratio
  writer.bits(0xff, 8);  // which follows as two numbers
  writer.bits(static_cast<std::uint64_t>(sampleShape.num), 16);
  writer.bits(static_cast<std::uint64_t>(sampleShape.den), 16);
  writer.bits(0, 8);  // none of the other parts
  return writer.unit(unit[0]);
}

// Without usability information, and with zeros up to the 9 bytes.
Bytes rewriteSps(ByteView unit, AVRational sampleShape) {
  const auto sps = h264::parseSps(unit);
  if (!sps || sps->profileIdc >= 100 || sps->picOrderCntType == 1 || !sps->frameMbsOnly ||
      sps->cropX != 0 || sps->cropY != 0) {
    throw SimError("the encoder's sequence parameter set is of a form that can't be rewritten");
  }
  if (sampleShape.num != sampleShape.den) return withSampleShape(*sps, unit, sampleShape);
  Bytes rewritten = h264::withoutVui(*sps, unit);
  if (rewritten.size() > kSpsBytes) {
    throw SimError(
        fmt::format("pictures of {}x{} can't have a sequence parameter set of at most {} bytes, "
                    "which the key-frame layout needs",
                    sps->displayedWidth(), sps->displayedHeight(), kSpsBytes));
  }
  rewritten.resize(kSpsBytes);
  return rewritten;
}

}  // namespace

std::vector<ByteView> splitUnits(ByteView stream) {
  std::vector<ByteView> units;
  for (const h264::Unit& found : h264::unitsOf(stream)) {
    const ByteView unit = h264::withoutPadding(found.in(stream));
    if (!unit.empty()) units.push_back(unit);
  }
  return units;
}

Bytes arrangeFrame(ByteView encoded, bool sei, AVRational sampleShape) {
  ByteView sps, pps, slice;
  for (const ByteView unit : splitUnits(encoded)) {
    const UnitType type = h264::typeOf(unit);
    if (type == UnitType::Sps) keepOnly(sps, unit, "sequence parameter set");
    if (type == UnitType::Pps) keepOnly(pps, unit, "picture parameter set");
    if (type == UnitType::Slice || type == UnitType::KeySlice) keepOnly(slice, unit, "slice");
  }
  if (slice.empty()) throw SimError("the encoder made no slice for a picture");
  Bytes frame;
  if (h264::typeOf(slice) == UnitType::KeySlice) {
    if (sps.empty() || pps.size() != kPpsBytes) {
      throw SimError(
          "the encoder's key frame does not have the parameter sets that the layout needs");
    }
    appendUnit(frame, rewriteSps(sps, sampleShape));
    appendUnit(frame, pps);
    if (sei) appendUnit(frame, kSei);
  }
  appendUnit(frame, slice);
  return frame;
}

bool isKeyFrame(ByteView frame) {
  return frame.size() > 4 && h264::typeOf(frame[4]) == UnitType::Sps;
}

}  // namespace quorvid::sim
