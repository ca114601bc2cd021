#include "h264/Units.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

namespace quorvid::h264 {
namespace {

constexpr std::size_t kPrefixSize = 4;
constexpr std::size_t kStartCodeSize = 3;
// Views that a sample keeps room for, beyond what pictures of honest encoders have.
constexpr std::size_t kMostUnitsKept = 256;

constexpr bool isSlice(UnitType type) {
  return type == UnitType::Slice || type == UnitType::KeySlice;
}

constexpr bool isPartition(UnitType type) {
  return type >= UnitType::PartitionA && type <= UnitType::PartitionC;
}

// Whether one of the 8 bytes is zero: only there the subtraction carries into a high bit that was
// clear.
bool holdsZero(const std::uint8_t* bytes) {
  std::uint64_t word = 0;
  std::memcpy(&word, bytes, sizeof word);
  return ((word - 0x0101010101010101U) & ~word & 0x8080808080808080U) != 0;
}

// Where the next 00 00 01 begins, or the size when there is none. Eight bytes at a time, as few of
// them begin with a zero; no content makes it slow.
std::size_t startCodeIn(ByteView bytes) {
  constexpr std::size_t kStep = sizeof(std::uint64_t);
  std::size_t at = 0;
  while (at + kStartCodeSize <= bytes.size()) {
    const std::size_t left = bytes.size() - at;
    if (left >= kStep && !holdsZero(&bytes[at])) {
      at += kStep;
      continue;
    }
    const std::size_t stop = at + std::min(kStep, left - kStartCodeSize + 1);
    for (; at < stop; ++at) {
      if (bytes[at] == 0 && bytes[at + 1] == 0 && bytes[at + 2] == 1) return at;
    }
  }
  return bytes.size();
}

std::size_t prefixOf(ByteView sample) {
  return static_cast<std::size_t>(sample[0]) << 24 | static_cast<std::size_t>(sample[1]) << 16 |
         static_cast<std::size_t>(sample[2]) << 8 | sample[3];
}

// A number in bytes that are summed up, to the first that isn't FF.
std::uint32_t numberAt(ByteView& rest) {
  std::uint32_t number = 0;
  for (std::uint8_t byte = 0xFF; byte == 0xFF && !rest.empty(); rest = rest.subspan(1)) {
    byte = rest[0];
    number += byte;
  }
  return number;
}

// recovery_frame_cnt of a recovery point among an SEI unit's messages: type | size | `size` bytes.
std::optional<std::uint32_t> recoveryPointIn(ByteView unit) {
  constexpr std::size_t kMostSearched = 2048;  // encoders write a page about themselves first
  constexpr std::uint32_t kRecoveryPoint = 6;
  std::array<std::uint8_t, kMostSearched> room;
  for (ByteView rest = payloadOf(unit, room); rest.size() > 2;) {
    const std::uint32_t type = numberAt(rest);
    const std::size_t stated = numberAt(rest);
    const std::size_t size = std::min(stated, rest.size());
    if (type == kRecoveryPoint) {
      BitReader reader(rest.first(size));
      const std::uint32_t count = reader.ue(0xFFFF);
      return reader.failed() ? std::nullopt : std::optional(count);
    }
    rest = rest.subspan(size);
  }
  return std::nullopt;
}

// Takes the units of one sample.
class SampleReader {
 public:
  SampleReader(const ParameterSets& sets, std::uint64_t mostWork)
      : sets_(sets), bounds_(sets.stream, mostWork) {}

  // False for a unit that damages the whole sample.
  bool take(ByteView unit, Sample& sample) {
    const UnitType type = typeOf(unit);
    if ((unit[0] & 0x80) != 0 || isPartition(type)) return false;
    if (isSlice(type) && !takeSlice(unit, sample)) return false;
    if (type == UnitType::Sei) {
      const auto count = recoveryPointIn(unit);
      if (count) sample.picture.recoveryFrameCnt = count;
    }
    if (isSlice(type) || type == UnitType::Sei) sample.units.push_back(unit);
    return true;
  }

 private:
  bool takeSlice(ByteView unit, Sample& sample) {
    const auto header = parseSliceHeader(sets_.stream, unit);
    if (!header || !bounds_.take(*header, unit.size())) return false;
    PictureInfo& picture = sample.picture;
    if (sample.kind != SampleKind::Picture) {
      sample.kind = SampleKind::Picture;
      picture.first = *header;
      picture.isIdr = typeOf(unit) == UnitType::KeySlice;
      picture.isReference = (unit[0] & 0x60) != 0;
    }
    const SliceType type = header->sliceType;
    picture.isIntra = picture.isIntra && (type == SliceType::I || type == SliceType::SI);
    picture.hasBothFields |= header->structure != picture.first.structure;
    picture.resetsFrameNum |= header->firstMbInSlice == 0 && resetsFrameNum(sets_, unit);
    return true;
  }

  const ParameterSets& sets_;
  WorkBounds bounds_;
};

}  // namespace

std::vector<Unit> unitsOf(ByteView frame, std::vector<Unit> units) {
  units.clear();
  for (std::size_t from = 0;;) {
    const std::size_t code = from + startCodeIn(frame.subspan(from));
    const std::size_t header = code + kStartCodeSize;
    if (header >= frame.size()) return units;
    const std::size_t start = code > 0 && frame[code - 1] == 0 ? code - 1 : code;
    if (!units.empty()) units.back().end = start;
    if (!units.empty() && start == units.back().header) units.pop_back();
    units.push_back({typeOf(frame.subspan(header)), start, header, frame.size()});
    from = header;
  }
}

Sample readSample(ByteView bytes, const ParameterSets& sets, std::uint64_t mostWork,
                  std::vector<ByteView> units) {
  Sample sample;
  if (units.capacity() <= kMostUnitsKept) sample.units = std::move(units);
  sample.units.clear();
  if (bytes.size() <= kPrefixSize || prefixOf(bytes) != bytes.size() - kPrefixSize) return sample;
  SampleReader reader(sets, mostWork);
  sample.kind = SampleKind::Nothing;
  for (ByteView rest = bytes.subspan(kPrefixSize); !rest.empty();) {
    const std::size_t size = startCodeIn(rest);
    const bool last = size == rest.size();
    const ByteView unit = last ? rest : withoutPadding(rest.first(size));
    rest = last ? ByteView{} : rest.subspan(size + kStartCodeSize);
    if (unit.empty() || reader.take(unit, sample)) continue;
    sample.kind = SampleKind::Damaged;
    break;
  }
  return sample;
}

std::size_t Sample::packedSize() const {
  std::size_t size = units.size() * kPrefixSize;
  for (const ByteView unit : units) size += unit.size();
  return size;
}

void Sample::packInto(std::span<std::uint8_t> packet) const {
  auto to = packet.begin();
  for (const ByteView unit : units) {
    for (int shift = 24; shift >= 0; shift -= 8) {
      *to++ = static_cast<std::uint8_t>(unit.size() >> shift & 0xFF);
    }
    to = std::copy(unit.begin(), unit.end(), to);
  }
}

}  // namespace quorvid::h264
