#include "sim/media/AccessUnit.h"

#include <array>

#include "sim/Error.h"
#include "sim/media/SpsRewriter.h"

namespace quorvid::sim {
namespace {

constexpr std::size_t kPpsBytes = 4;
constexpr unsigned kSlice = 1;
constexpr unsigned kKeySlice = 5;
constexpr unsigned kSps = 7;
constexpr unsigned kPps = 8;

// Recovery point: payload type 6, 1 byte: recovery_frame_cnt 0, exact_match 1, broken_link 0, no
// slice groups.
constexpr std::array<std::uint8_t, 5> kSei{0x06, 0x06, 0x01, 0xc4, 0x80};

/// Index of the next 00 00 01 at or after `from`, or the stream's size.
std::size_t findStartCode(ByteView stream, std::size_t from) {
  for (std::size_t i = from; i + 3 <= stream.size(); ++i) {
    if (stream[i] == 0 && stream[i + 1] == 0 && stream[i + 2] == 1) return i;
  }
  return stream.size();
}

void appendUnit(Bytes& frame, ByteView unit) {
  frame.insert(frame.end(), {0, 0, 0, 1});
  frame.insert(frame.end(), unit.begin(), unit.end());
}

void keepOnly(ByteView& kept, ByteView unit, const char* what) {
  if (!kept.empty())
    throw SimError(std::string("the encoder made more than one ") + what + " for a picture");
  kept = unit;
}

}  // namespace

std::vector<ByteView> splitUnits(ByteView stream) {
  std::vector<ByteView> units;
  std::size_t start = findStartCode(stream, 0);
  while (start < stream.size()) {
    const std::size_t begin = start + 3;
    const std::size_t next = findStartCode(stream, begin);
    std::size_t end = next;
    while (end > begin && stream[end - 1] == 0) --end;
    if (end > begin) units.push_back(stream.subspan(begin, end - begin));
    start = next;
  }
  return units;
}

Bytes arrangeFrame(ByteView encoded, bool sei) {
  ByteView sps, pps, slice;
  for (const ByteView unit : splitUnits(encoded)) {
    const unsigned type = unitType(unit);
    if (type == kSps) keepOnly(sps, unit, "sequence parameter set");
    if (type == kPps) keepOnly(pps, unit, "picture parameter set");
    if (type == kSlice || type == kKeySlice) keepOnly(slice, unit, "slice");
  }
  if (slice.empty()) throw SimError("the encoder made no slice for a picture");
  Bytes frame;
  if (unitType(slice) == kKeySlice) {
    if (sps.empty() || pps.size() != kPpsBytes) {
      throw SimError(
          "the encoder's key frame does not have the parameter sets that the layout needs");
    }
    appendUnit(frame, rewriteSps(sps));
    appendUnit(frame, pps);
    if (sei) appendUnit(frame, kSei);
  }
  appendUnit(frame, slice);
  return frame;
}

bool isKeyFrame(ByteView frame) {
  return frame.size() > 4 && (frame[4] & 31u) == kSps;
}

}  // namespace quorvid::sim
