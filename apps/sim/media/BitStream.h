#pragma once

#include <cstdint>

#include "sim/wire/Bytes.h"

namespace quorvid::sim {

/// Reads bits, most significant first. Beyond the end it yields zeros and `overrun()` is true.
class BitReader {
 public:
  explicit BitReader(ByteView bytes) : bytes_(bytes) {}

  std::uint32_t bits(int count);
  bool flag() { return bits(1) != 0; }
  /// Unsigned Exp-Golomb code: n zeros, a one, n more bits.
  std::uint32_t ue();
  bool overrun() const { return position_ > bytes_.size() * 8; }

 private:
  ByteView bytes_;
  std::size_t position_ = 0;
};

/// Writes bits, most significant first.
class BitWriter {
 public:
  void bits(std::uint32_t value, int count);
  void flag(bool value) { bits(value ? 1 : 0, 1); }
  void ue(std::uint32_t value);
  /// Ends the payload of a NAL unit: a one, then zeros up to the byte boundary.
  void trailing();
  const Bytes& bytes() const { return bytes_; }

 private:
  Bytes bytes_;
  int used_ = 8;
};

/// A NAL unit's bytes without the 03 that is put after two zero bytes, and with it.
Bytes removeEmulationPrevention(ByteView unit);
Bytes addEmulationPrevention(ByteView payload);

}  // namespace quorvid::sim
