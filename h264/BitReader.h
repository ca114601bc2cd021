// H264BitReader: fixed-length and Exp-Golomb fields of an H.264 parameter set, with limits.
//
// A field outside its limits or beyond the end marks the reader as failed; later reads give 0. So a
// parser reads everything and asks once. One thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace quorvid {

// The unit's bytes after its header, without the 03 that keeps start codes out (00 00 03 -> 00 00).
// Nothing when the unit holds what no encoder may write: 00 00 followed by 00, 01 or 02, or an 03
// with another byte than 00 to 03 behind it.
std::optional<std::vector<std::uint8_t>> h264Payload(std::span<const std::uint8_t> unit);

// The unit without the zero bytes behind it, which fill a place or announce a start code.
std::span<const std::uint8_t> h264WithoutPadding(std::span<const std::uint8_t> unit);

class H264BitReader {
 public:
  // The payload must outlive the reader.
  explicit H264BitReader(std::span<const std::uint8_t> payload) : payload_(payload) {}

  bool flag() { return bits(1) != 0; }
  // count: 1 to 32.
  std::uint32_t bits(int count);
  // Unsigned Exp-Golomb, 0 to largest.
  std::uint32_t golomb(std::uint32_t largest);
  // Signed Exp-Golomb, smallest to largest.
  std::int32_t signedGolomb(std::int32_t smallest, std::int32_t largest);

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
  std::span<const std::uint8_t> payload_;
  std::size_t position_ = 0;
  bool failed_ = false;
};

}  // namespace quorvid
