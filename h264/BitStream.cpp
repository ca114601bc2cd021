#include "h264/BitStream.h"

#include <algorithm>
#include <bit>

namespace quorvid::h264 {

Bytes payloadOf(ByteView unit) {
  Bytes payload(unit.size());
  payload.resize(payloadOf(unit, payload).size());
  return payload;
}

ByteView payloadOf(ByteView unit, std::span<std::uint8_t> room) {
  const std::size_t read = std::min(unit.size(), room.size());
  std::size_t written = 0;
  int zeros = 0;
  for (std::size_t i = 1; i < read; ++i) {
    const bool isEscape = zeros >= 2 && unit[i] == 3;
    if (!isEscape) room[written++] = unit[i];
    zeros = unit[i] == 0 ? zeros + 1 : 0;
  }
  return room.first(written);
}

bool isEscaped(ByteView unit) {
  int zeros = 0;
  for (std::size_t i = 1; i < unit.size(); ++i) {
    if (zeros >= 2 && (unit[i] < 3 || (unit[i] == 3 && i + 1 < unit.size() && unit[i + 1] > 3))) {
      return false;
    }
    zeros = unit[i] == 0 ? zeros + 1 : 0;
  }
  return true;
}

ByteView withoutPadding(ByteView unit) {
  while (!unit.empty() && unit.back() == 0) {
    unit = unit.first(unit.size() - 1);
  }
  return unit;
}

std::uint32_t BitReader::bits(int count) {
  if (failed_ || payload_.size() * 8 - position_ < static_cast<std::size_t>(count)) {
    failed_ = true;
    return 0;
  }
  std::uint32_t value = 0;
  while (count-- > 0) {
    value = value << 1 | (bitAt(position_++) ? 1U : 0U);
  }
  return value;
}

std::uint32_t BitReader::ue(std::uint32_t largest) {
  int zeros = 0;
  while (!failed_ && !flag()) {
    require(++zeros < 32);
  }
  const std::uint64_t value =
      failed_ ? 0 : (std::uint64_t{1} << zeros) - 1 + (zeros > 0 ? bits(zeros) : 0);
  require(value <= largest);
  return failed_ ? 0 : static_cast<std::uint32_t>(value);
}

std::int32_t BitReader::se(std::int32_t smallest, std::int32_t largest) {
  // 0, 1, 2, 3, 4 ... stand for 0, 1, -1, 2, -2 ...
  const std::int64_t code = ue();
  const std::int64_t value = code % 2 != 0 ? (code + 1) / 2 : -(code / 2);
  require(value >= smallest && value <= largest);
  return failed_ ? 0 : static_cast<std::int32_t>(value);
}

bool BitReader::hasMore() const {
  std::size_t last = payload_.size() * 8;
  while (last > 0 && !bitAt(last - 1)) {
    --last;
  }
  return !failed_ && position_ + 1 < last;
}

bool BitReader::endsHere() const {
  const std::size_t end = payload_.size() * 8;
  if (failed_ || position_ >= end || end - position_ > 8 || !bitAt(position_)) return false;
  for (std::size_t i = position_ + 1; i < end; ++i) {
    if (bitAt(i)) return false;
  }
  return true;
}

void BitWriter::bits(std::uint64_t value, int count) {
  while (count-- > 0) {
    if (used_ % 8 == 0) bytes_.push_back(0);
    bytes_.back() |= static_cast<std::uint8_t>((value >> count & 1) << (7 - used_++ % 8));
  }
}

void BitWriter::ue(std::uint32_t value) {
  const std::uint64_t code = std::uint64_t{value} + 1;
  bits(code, 2 * static_cast<int>(std::bit_width(code)) - 1);
}

void BitWriter::copy(ByteView payload, std::size_t count) {
  BitReader reader(payload);
  for (; count > 0; --count) {
    bits(reader.bits(1), 1);
  }
}

Bytes BitWriter::unit(std::uint8_t header) {
  bits(1, 1);
  Bytes unit{header};
  int zeros = 0;
  for (const std::uint8_t byte : bytes_) {
    if (zeros >= 2 && byte <= 3) {
      unit.push_back(3);
      zeros = 0;
    }
    unit.push_back(byte);
    zeros = byte == 0 ? zeros + 1 : 0;
  }
  return unit;
}

}  // namespace quorvid::h264
