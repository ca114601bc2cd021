// Units: a frame taken apart at its start codes, and a caller's length-prefixed unit made into what
// a decoder may see of it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "h264/Sps.h"

namespace quorvid::h264 {

// nal_unit_type. Partitions are a slice in three units: nothing decodes it.
enum class UnitType : std::uint8_t {
  Slice = 1,
  PartitionA = 2,
  PartitionC = 4,
  KeySlice = 5,
  Sei = 6,
  Sps = 7,
  Pps = 8
};

// unit: not empty, NAL header first.
inline UnitType typeOf(ByteView unit) {
  return static_cast<UnitType>(unit[0] & 0x1F);
}

// One unit of a frame: where its start code and its header byte lie and where it ends.
struct Unit {
  UnitType type{};
  std::size_t startCode = 0;
  std::size_t header = 0;
  std::size_t end = 0;

  ByteView in(ByteView frame) const { return frame.subspan(header, end - header); }
};

// The units of a frame in Annex B form, start codes of 3 or 4 bytes; units without a header byte
// are left out. Further zeros before a start code belong to the unit before it.
std::vector<Unit> unitsOf(ByteView frame);

enum class SampleKind : std::uint8_t {
  Picture,  // slices to decode
  Nothing,  // well-formed, but without a slice: no picture is due
  Damaged,  // a prefix that doesn't fit the size, a header or slice no encoder writes, or slices
            // beyond the bounds of Slice.h
};

// sample: a length of 4 bytes, most significant byte first, and that many bytes. A caller that
// hands over the rest of an access unit as one has start codes inside, which a single unit can't
// contain: there the unit is taken apart, so that pictures of several slices come out whole.
// `packet` gets the slices and SEI units, each with its length in front; parameter sets inside are
// left out, the session keeps its own. mostWork: see WorkBounds.
SampleKind repackSample(ByteView sample, const Sps& stream, std::uint64_t mostWork, Bytes& packet);

}  // namespace quorvid::h264
