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

// Takes the units of one sample.
class SampleReader {
 public:
  SampleReader(const Sps& stream, std::uint64_t mostWork)
      : stream_(stream), bounds_(stream, mostWork) {}

  // False for a unit that damages the whole sample.
  bool take(ByteView unit, Sample& sample) {
    const UnitType type = typeOf(unit);
    if ((unit[0] & 0x80) != 0 || isPartition(type) || (isSlice(type) && !isWithinBounds(unit))) {
      return false;
    }
    if (isSlice(type) || type == UnitType::Sei) sample.units.push_back(unit);
    if (isSlice(type)) sample.kind = SampleKind::Picture;
    return true;
  }

 private:
  bool isWithinBounds(ByteView slice) {
    const auto header = parseSliceHeader(stream_, slice);
    return header && bounds_.take(*header, slice.size());
  }

  const Sps& stream_;
  WorkBounds bounds_;
};

}  // namespace

std::vector<Unit> unitsOf(ByteView frame) {
  std::vector<Unit> units;
  for (std::size_t from = 0;;) {
    const std::size_t code = from + startCodeIn(frame.subspan(from));
    const std::size_t header = code + kStartCode.size();
    if (header >= frame.size()) return units;
    const std::size_t start = code > 0 && frame[code - 1] == 0 ? code - 1 : code;
    if (!units.empty()) units.back().end = start;
    if (!units.empty() && start == units.back().header) units.pop_back();
    units.push_back({typeOf(frame.subspan(header)), start, header, frame.size()});
    from = header;
  }
}

Sample readSample(ByteView bytes, const Sps& stream, std::uint64_t mostWork) {
  if (bytes.size() <= kPrefixSize || prefixOf(bytes) != bytes.size() - kPrefixSize) return {};
  SampleReader reader(stream, mostWork);
  Sample sample{SampleKind::Nothing, {}};
  for (ByteView rest = bytes.subspan(kPrefixSize); !rest.empty();) {
    const std::size_t size = startCodeIn(rest);
    const bool last = size == rest.size();
    const ByteView unit = last ? rest : withoutPadding(rest.first(size));
    rest = last ? ByteView{} : rest.subspan(size + kStartCode.size());
    if (!unit.empty() && !reader.take(unit, sample)) return {};
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
