#include "support/SpsRewriter.h"

#include <algorithm>

namespace quorvid::test {
namespace {

using Bits = std::vector<bool>;
using Bytes = std::vector<std::uint8_t>;

Bits bitsOfPayload(const Bytes& unit) {
  Bits bits;
  int zeros = 0;
  for (std::size_t i = 1; i < unit.size(); ++i) {
    const bool escape = zeros >= 2 && unit[i] == 3;
    zeros = unit[i] == 0 ? zeros + 1 : 0;
    for (int shift = 7; shift >= 0 && !escape; --shift) {
      bits.push_back((unit[i] >> shift & 1) != 0);
    }
  }
  return bits;
}

class Copier {
 public:
  explicit Copier(Bits from) : from_(std::move(from)) {}
  void fixed(int count) {
    while (count-- > 0) {
      to_.push_back(take());
    }
  }
  unsigned golomb() {
    const unsigned value = readGolomb();
    writeGolomb(value);
    return value;
  }
  unsigned readGolomb() {
    int zeros = 0;
    while (!take() && zeros < 31) {
      ++zeros;
    }
    unsigned value = 1;
    for (int i = 0; i < zeros; ++i) {
      value = value << 1 | (take() ? 1U : 0U);
    }
    return value - 1;
  }
  void writeGolomb(unsigned value) {
    int length = 0;
    while (((value + 1) >> length) > 1) {
      ++length;
    }
    to_.insert(to_.end(), static_cast<std::size_t>(length), false);
    for (int shift = length; shift >= 0; --shift) {
      to_.push_back(((value + 1) >> shift & 1) != 0);
    }
  }
  void write(bool bit) { to_.push_back(bit); }
  const Bits& result() const { return to_; }

 private:
  bool take() { return position_ < from_.size() && from_[position_++]; }
  Bits from_, to_;
  std::size_t position_ = 0;
};

Bytes unitOf(std::uint8_t header, Bits bits) {
  bits.push_back(true);
  bits.resize((bits.size() + 7) / 8 * 8);
  Bytes unit{header};
  int zeros = 0;
  for (std::size_t i = 0; i < bits.size(); i += 8) {
    unsigned byte = 0;
    for (std::size_t k = 0; k < 8; ++k) {
      byte = byte << 1 | (bits[i + k] ? 1U : 0U);
    }
    if (zeros >= 2 && byte <= 3) {
      unit.push_back(3);
      zeros = 0;
    }
    unit.push_back(static_cast<std::uint8_t>(byte));
    zeros = byte == 0 ? zeros + 1 : 0;
  }
  return unit;
}

// Fields in order: profile, constraints, level (24 bits), id, frame number length, order count type
// (0: and its length), reference frames, gaps allowed, width, height, frames only, 8x8 inference,
// cropping, VUI.
Bytes withoutVui(const Bytes& sps) {
  Copier copier(bitsOfPayload(sps));
  copier.fixed(24);
  copier.golomb();
  copier.golomb();
  if (copier.golomb() == 0) {
    copier.golomb();
  }
  copier.golomb();
  copier.fixed(1);
  copier.golomb();
  copier.golomb();
  copier.fixed(3);
  copier.write(false);
  return unitOf(sps[0], copier.result());
}

}  // namespace

Bytes rewriteSps(const Bytes& sps, std::size_t size) {
  Bytes rewritten = withoutVui(sps);
  rewritten.resize(std::max(rewritten.size(), size));
  return rewritten;
}

}  // namespace quorvid::test
