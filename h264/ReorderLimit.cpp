#include "h264/ReorderLimit.h"

#include <algorithm>
#include <bit>
#include <cstddef>

#include "h264/BitReader.h"

namespace quorvid {
namespace {

using Bytes = std::vector<std::uint8_t>;

class BitWriter {
 public:
  void bits(std::uint64_t value, int count) {
    while (count-- > 0) {
      if (used_ % 8 == 0) {
        bytes_.push_back(0);
      }
      bytes_.back() |= static_cast<std::uint8_t>((value >> count & 1) << (7 - used_++ % 8));
    }
  }
  void golomb(std::uint32_t value) {
    const std::uint64_t code = std::uint64_t{value} + 1;
    bits(code, 2 * static_cast<int>(std::bit_width(code)) - 1);
  }
  const Bytes& bytes() const { return bytes_; }

 private:
  Bytes bytes_;
  std::size_t used_ = 0;
};

// Puts the 03 back that keeps start codes out: 00 00 0x -> 00 00 03 0x.
Bytes unitOf(std::uint8_t header, const Bytes& payload) {
  Bytes unit{header};
  int zeros = 0;
  for (const std::uint8_t byte : payload) {
    if (zeros >= 2 && byte <= 3) {
      unit.push_back(3);
      zeros = 0;
    }
    unit.push_back(byte);
    zeros = byte == 0 ? zeros + 1 : 0;
  }
  return unit;
}

void copyBits(std::span<const std::uint8_t> payload, std::size_t count, BitWriter& writer) {
  H264BitReader reader(payload);
  for (; count > 0; --count) {
    writer.bits(reader.bits(1), 1);
  }
}

void writeLimits(const H264Sps& sps, BitWriter& writer) {
  writer.bits(0b11, 2);  // limits follow; motion vectors may point outside the picture
  writer.golomb(0);      // bytes of a picture, bits of a macroblock: any
  writer.golomb(0);
  writer.golomb(15);  // motion vectors: the longest
  writer.golomb(15);
  writer.golomb(0);  // pictures that may leave later than in order
  writer.golomb(std::max(sps.referenceFrames, 1U));
}

}  // namespace

Bytes withReorderLimit(const H264Sps& sps, std::span<const std::uint8_t> unit) {
  const auto payload = h264Payload(unit);
  if (!payload || (sps.hasLimits && !sps.neverReorders())) {
    return {unit.begin(), unit.end()};
  }
  BitWriter writer;
  if (sps.limitsFlagAt) {
    copyBits(*payload, *sps.limitsFlagAt, writer);
  } else {
    copyBits(*payload, sps.usabilityFlagAt, writer);
    writer.bits(0b1'0000'0000, 9);  // usability information follows, and none of its eight parts
  }
  writeLimits(sps, writer);
  writer.bits(1, 1);
  return unitOf(unit[0], writer.bytes());
}

}  // namespace quorvid
