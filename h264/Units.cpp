#include "h264/Units.h"

#include <algorithm>
#include <array>

#include "h264/Slice.h"

namespace quorvid::h264 {
namespace {

constexpr std::size_t kPrefixSize = 4;
constexpr std::array<std::uint8_t, 3> kStartCode{0, 0, 1};

constexpr bool isSlice(UnitType type) {
  return type == UnitType::Slice || type == UnitType::KeySlice;
}

constexpr bool isPartition(UnitType type) {
  return type >= UnitType::PartitionA && type <= UnitType::PartitionC;
}

// Where the next 00 00 01 begins, or the size when there is none.
std::size_t startCodeIn(ByteView bytes) {
  const auto code = std::search(bytes.begin(), bytes.end(), kStartCode.begin(), kStartCode.end());
  return static_cast<std::size_t>(code - bytes.begin());
}

std::size_t prefixOf(ByteView sample) {
  return static_cast<std::size_t>(sample[0]) << 24 | static_cast<std::size_t>(sample[1]) << 16 |
         static_cast<std::size_t>(sample[2]) << 8 | sample[3];
}

void append(ByteView unit, Bytes& packet) {
  for (int shift = 24; shift >= 0; shift -= 8) {
    packet.push_back(static_cast<std::uint8_t>(unit.size() >> shift & 0xFF));
  }
  packet.insert(packet.end(), unit.begin(), unit.end());
}

// Takes the units of one sample.
class Repacker {
 public:
  Repacker(const Sps& stream, std::uint64_t mostWork, Bytes& packet)
      : stream_(stream), bounds_(stream, mostWork), packet_(packet) {}

  SampleKind take(ByteView unit) {
    const UnitType type = typeOf(unit);
    if ((unit[0] & 0x80) != 0 || isPartition(type) || (isSlice(type) && !isWithinBounds(unit))) {
      return SampleKind::Damaged;
    }
    if (isSlice(type) || type == UnitType::Sei) append(unit, packet_);
    return isSlice(type) ? SampleKind::Picture : SampleKind::Nothing;
  }

 private:
  bool isWithinBounds(ByteView slice) {
    const auto header = parseSliceHeader(stream_, slice);
    return header && bounds_.take(*header, slice.size());
  }

  const Sps& stream_;
  WorkBounds bounds_;
  Bytes& packet_;
};

}  // namespace

std::vector<Unit> unitsOf(ByteView frame) {
  std::vector<Unit> units;
  for (std::size_t from = 0;;) {
    const std::size_t code = from + startCodeIn(frame.subspan(from));
    const std::size_t header = code + kStartCode.size();
    if (header >= frame.size()) return units;
    const std::size_t start = code > 0 && frame[code - 1] == 0 ? code - 1 : code;
    if (!units.empty()) units.back().end = std::max(start, units.back().header + 1);
    units.push_back({typeOf(frame.subspan(header)), start, header, frame.size()});
    from = header;
  }
}

SampleKind repackSample(ByteView sample, const Sps& stream, std::uint64_t mostWork, Bytes& packet) {
  packet.clear();
  if (sample.size() <= kPrefixSize || prefixOf(sample) != sample.size() - kPrefixSize) {
    return SampleKind::Damaged;
  }
  Repacker repacker(stream, mostWork, packet);
  SampleKind kind = SampleKind::Nothing;
  for (ByteView rest = sample.subspan(kPrefixSize); !rest.empty();) {
    const std::size_t size = startCodeIn(rest);
    const bool last = size == rest.size();
    const ByteView unit = last ? rest : withoutPadding(rest.first(size));
    rest = last ? ByteView{} : rest.subspan(size + kStartCode.size());
    const SampleKind found = unit.empty() ? SampleKind::Nothing : repacker.take(unit);
    if (found == SampleKind::Damaged) return found;
    kind = found == SampleKind::Picture ? found : kind;
  }
  return kind;
}

}  // namespace quorvid::h264
