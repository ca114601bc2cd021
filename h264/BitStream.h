// BitReader, BitWriter: the bits of an H.264 unit, fixed-length and Exp-Golomb fields.
//
// A unit is its header byte and a payload, in which 00 00 0x (x up to 3) is written 00 00 03 0x, so
// that no start code (00 00 01) can come about inside. The payload ends with a 1 and zeros up to
// the byte's end. One thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace quorvid::h264 {

using Bytes = std::vector<std::uint8_t>;
using ByteView = std::span<const std::uint8_t>;

// The unit's bytes after its header, without the 03 that keeps start codes out.
Bytes payloadOf(ByteView unit);
// The same of as many of the unit's first bytes as there is room for, written there.
ByteView payloadOf(ByteView unit, std::span<std::uint8_t> room);

// False when the unit holds what no encoder may write: 00 00 followed by 00, 01 or 02, or such an
// 03 with another byte than 00 to 03 behind it.
bool isEscaped(ByteView unit);

// The unit without the zero bytes behind it, which fill a place or announce a start code.
ByteView withoutPadding(ByteView unit);

// A field outside its limits or beyond the end marks the reader as failed; later reads give 0. So a
// parser reads everything and asks once.
class BitReader {
 public:
  // The payload must outlive the reader.
  explicit BitReader(ByteView payload) : payload_(payload) {}

  bool flag() { return bits(1) != 0; }
  // count: 1 to 32.
  std::uint32_t bits(int count);
  // Unsigned Exp-Golomb, 0 to largest: n zeros, a 1, n more bits.
  std::uint32_t ue(std::uint32_t largest = 0xFFFFFFFE);
  // Signed Exp-Golomb, smallest to largest.
  std::int32_t se(std::int32_t smallest = -INT32_MAX, std::int32_t largest = INT32_MAX);

  // Marks the reader as failed unless `holds`.
  void require(bool holds) { failed_ = failed_ || !holds; }
  bool failed() const { return failed_; }
  // Bits read.
  std::size_t position() const { return position_; }
  // True while there is more than the closing 1 and its zeros.
  bool hasMore() const;
  // True when nothing failed and exactly the closing bits of the last byte are left.
  bool endsHere() const;

 private:
  bool bitAt(std::size_t position) const {
    return (payload_[position / 8] >> (7 - position % 8) & 1) != 0;
  }
  ByteView payload_;
  std::size_t position_ = 0;
  bool failed_ = false;
};

class BitWriter {
 public:
  void bits(std::uint64_t value, int count);
  void ue(std::uint32_t value);
  // The first bits of a payload.
  void copy(ByteView payload, std::size_t count);
  // What was written, as a unit: its header in front, closed, with the 03 that keeps start codes
  // out.
  Bytes unit(std::uint8_t header);

 private:
  Bytes bytes_;
  std::size_t used_ = 0;
};

}  // namespace quorvid::h264
