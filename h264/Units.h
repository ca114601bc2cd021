// Units: a frame taken apart at its start codes, and a caller's length-prefixed unit made into what
// a decoder may see of it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "h264/Slice.h"

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

// header: the first byte of a unit.
inline UnitType typeOf(std::uint8_t header) {
  return static_cast<UnitType>(header & 0x1F);
}
// unit: not empty, NAL header first.
inline UnitType typeOf(ByteView unit) {
  return typeOf(unit[0]);
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
// units: whose memory the result takes over.
std::vector<Unit> unitsOf(ByteView frame, std::vector<Unit> units = {});

enum class SampleKind : std::uint8_t {
  Picture,  // slices to decode
  Nothing,  // well-formed, but without a slice: no picture is due
  Damaged,  // a prefix that doesn't fit the size, a header or slice no encoder writes, or slices
            // beyond the bounds of Slice.h
};

// The picture of one sample, or one field of it.
struct PictureInfo {
  SliceHeader first;  // of its first slice
  bool isIdr = false;
  bool isReference = false;
  bool isIntra = true;  // I slices alone
  bool hasBothFields = false;
  bool resetsFrameNum = false;  // see Slice.h
  // Of a recovery point in front of it: 0: this picture is right, n: the one n numbers later.
  std::optional<std::uint32_t> recoveryFrameCnt = {};
};

// What a decoder may see of a caller's unit: the slices and SEI units in it, in order, which lie in
// the caller's memory. Parameter sets inside are left out, the session keeps its own.
struct Sample {
  SampleKind kind = SampleKind::Damaged;
  std::vector<ByteView> units;
  PictureInfo picture;  // without a slice: only a recovery point

  // Bytes of the units with a length of 4 bytes in front of each, the form in which a decoder takes
  // them, and those bytes.
  std::size_t packedSize() const;
  void packInto(std::span<std::uint8_t> packet) const;
};

// sample: a length of 4 bytes, most significant byte first, and that many bytes. A caller that
// hands over the rest of an access unit as one has start codes inside, which a single unit can't
// contain: there the unit is taken apart, so that pictures of several slices come out whole.
// mostWork: see WorkBounds. units: of an earlier sample; the result takes over their memory. A
// damaged one has the units and the picture up to the damage.
Sample readSample(ByteView sample, const ParameterSets& sets, std::uint64_t mostWork,
                  std::vector<ByteView> units = {});

}  // namespace quorvid::h264
