#include "h264/BitReader.h"

namespace quorvid {

std::optional<std::vector<std::uint8_t>> h264Payload(std::span<const std::uint8_t> unit) {
  std::vector<std::uint8_t> payload;
  payload.reserve(unit.size());
  int zeros = 0;
  for (std::size_t i = 1; i < unit.size(); ++i) {
    const std::uint8_t byte = unit[i];
    if (zeros >= 2 && byte < 3) {
      return std::nullopt;
    }
    if (zeros >= 2 && byte == 3) {
      if (i + 1 < unit.size() && unit[i + 1] > 3) {
        return std::nullopt;
      }
      zeros = 0;
      continue;
    }
    payload.push_back(byte);
    zeros = byte == 0 ? zeros + 1 : 0;
  }
  return payload;
}

std::span<const std::uint8_t> h264WithoutPadding(std::span<const std::uint8_t> unit) {
  while (!unit.empty() && unit.back() == 0) {
    unit = unit.first(unit.size() - 1);
  }
  return unit;
}

std::uint32_t H264BitReader::bits(int count) {
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

std::uint32_t H264BitReader::golomb(std::uint32_t largest) {
  int zeros = 0;
  while (!failed_ && !flag()) {
    require(++zeros < 32);
  }
  const std::uint64_t value =
      failed_ ? 0 : (std::uint64_t{1} << zeros) - 1 + (zeros > 0 ? bits(zeros) : 0);
  require(value <= largest);
  return failed_ ? 0 : static_cast<std::uint32_t>(value);
}

std::int32_t H264BitReader::signedGolomb(std::int32_t smallest, std::int32_t largest) {
  // 0, 1, 2, 3, 4 ... stand for 0, 1, -1, 2, -2 ...
  const std::int64_t code = golomb(0xFFFFFFFE);
  const std::int64_t value = code % 2 != 0 ? (code + 1) / 2 : -(code / 2);
  require(value >= smallest && value <= largest);
  return failed_ ? 0 : static_cast<std::int32_t>(value);
}

bool H264BitReader::hasMore() const {
  std::size_t last = payload_.size() * 8;
  while (last > 0 && !bitAt(last - 1)) {
    --last;
  }
  return !failed_ && position_ + 1 < last;
}

bool H264BitReader::endsHere() const {
  const std::size_t end = payload_.size() * 8;
  if (failed_ || position_ >= end || end - position_ > 8 || !bitAt(position_)) {
    return false;
  }
  for (std::size_t i = position_ + 1; i < end; ++i) {
    if (bitAt(i)) {
      return false;
    }
  }
  return true;
}

}  // namespace quorvid
