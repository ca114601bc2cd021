#include "h264/Units.h"

#include <algorithm>
#include <array>

#include "h264/BitReader.h"
#include "h264/WorkBounds.h"

namespace quorvid {
namespace {

using Unit = std::span<const std::uint8_t>;

constexpr std::size_t kPrefixSize = 4;
constexpr std::array<std::uint8_t, 3> kStartCode{0, 0, 1};
constexpr int kSei = 6;

constexpr bool isSlice(int type) {
  return type == 1 || type == 5;
}

// A slice in three units: nothing decodes it.
constexpr bool isPartition(int type) {
  return type >= 2 && type <= 4;
}

std::size_t prefixOf(Unit sample) {
  return static_cast<std::size_t>(sample[0]) << 24 | static_cast<std::size_t>(sample[1]) << 16 |
         static_cast<std::size_t>(sample[2]) << 8 | sample[3];
}

void append(Unit unit, std::vector<std::uint8_t>& packet) {
  for (int shift = 24; shift >= 0; shift -= 8) {
    packet.push_back(static_cast<std::uint8_t>(unit.size() >> shift & 0xFF));
  }
  packet.insert(packet.end(), unit.begin(), unit.end());
}

// Takes the units of one sample.
class Repacker {
 public:
  Repacker(const H264Sps& stream, std::uint64_t mostWork, std::vector<std::uint8_t>& packet)
      : stream_(stream), bounds_(stream, mostWork), packet_(packet) {}

  H264UnitKind take(Unit unit) {
    const int type = unit[0] & 0x1F;
    if ((unit[0] & 0x80) != 0 || isPartition(type) || (isSlice(type) && !isWithinBounds(unit))) {
      return H264UnitKind::Damaged;
    }
    if (isSlice(type) || type == kSei) {
      append(unit, packet_);
    }
    return isSlice(type) ? H264UnitKind::Picture : H264UnitKind::Nothing;
  }

 private:
  bool isWithinBounds(Unit slice) {
    const auto header = parseH264SliceHeader(stream_, slice);
    return header && bounds_.take(*header, slice.size());
  }

  const H264Sps& stream_;
  H264WorkBounds bounds_;
  std::vector<std::uint8_t>& packet_;
};

}  // namespace

H264UnitKind repackH264Sample(Unit sample, const H264Sps& stream, std::uint64_t mostWork,
                              std::vector<std::uint8_t>& packet) {
  packet.clear();
  if (sample.size() <= kPrefixSize || prefixOf(sample) != sample.size() - kPrefixSize) {
    return H264UnitKind::Damaged;
  }
  Repacker repacker(stream, mostWork, packet);
  H264UnitKind kind = H264UnitKind::Nothing;
  for (Unit rest = sample.subspan(kPrefixSize); !rest.empty();) {
    const auto code = std::search(rest.begin(), rest.end(), kStartCode.begin(), kStartCode.end());
    const auto size = static_cast<std::size_t>(code - rest.begin());
    const bool last = code == rest.end();
    const Unit unit = last ? rest : h264WithoutPadding(rest.first(size));
    rest = last ? Unit{} : rest.subspan(size + kStartCode.size());
    const H264UnitKind found = unit.empty() ? H264UnitKind::Nothing : repacker.take(unit);
    if (found == H264UnitKind::Damaged) {
      return found;
    }
    kind = found == H264UnitKind::Picture ? found : kind;
  }
  return kind;
}

}  // namespace quorvid
