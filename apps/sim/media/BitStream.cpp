#include "sim/media/BitStream.h"

#include <bit>

namespace quorvid::sim {

std::uint32_t BitReader::bits(int count) {
  std::uint32_t value = 0;
  for (int i = 0; i < count; ++i, ++position_) {
    const std::size_t byte = position_ / 8;
    const unsigned bit = byte < bytes_.size() ? (bytes_[byte] >> (7 - position_ % 8)) & 1u : 0u;
    value = value << 1 | bit;
  }
  return value;
}

std::uint32_t BitReader::ue() {
  int zeros = 0;
  while (zeros < 31 && !overrun() && !flag()) ++zeros;
  return (1u << zeros) - 1 + bits(zeros);
}

void BitWriter::bits(std::uint32_t value, int count) {
  for (int i = count - 1; i >= 0; --i) {
    if (used_ == 8) {
      bytes_.push_back(0);
      used_ = 0;
    }
    bytes_.back() = static_cast<std::uint8_t>(bytes_.back() | ((value >> i) & 1u) << (7 - used_));
    ++used_;
  }
}

void BitWriter::ue(std::uint32_t value) {
  const int length = std::bit_width(value + 1);
  bits(0, length - 1);
  bits(value + 1, length);
}

void BitWriter::trailing() {
  bits(1, 1);
  used_ = 8;
}

Bytes removeEmulationPrevention(ByteView unit) {
  Bytes payload;
  int zeros = 0;
  for (const std::uint8_t byte : unit) {
    if (zeros >= 2 && byte == 3) {
      zeros = 0;
      continue;
    }
    payload.push_back(byte);
    zeros = byte == 0 ? zeros + 1 : 0;
  }
  return payload;
}

Bytes addEmulationPrevention(ByteView payload) {
  Bytes unit;
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

}  // namespace quorvid::sim
