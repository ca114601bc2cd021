// H264WorkBounds: how much a unit's slices may ask of a decoder.
//
// A slice of a few bytes can stand for all macroblocks from its first to the picture's end, and a
// decoder notices only behind it that the next slice begins before that. So the work is estimated
// from the slices' headers and sizes, before a decoder sees any of them.
//
// An estimate can't tell slices that end where the next begins from slices that go on to the end,
// so there are two limits: one that pictures of honest encoders keep, cut at any size, and one that
// holds a unit to a quarter of a second of processor time whatever its slices hold. A session
// begins with the first and goes over to the second for good once a unit took longer than that.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include "h264/SliceHeader.h"

namespace quorvid {

// In skipped macroblocks of a P slice with samples of 8 bits, two chroma samples for four of luma:
// about 0.3 microseconds each.
inline constexpr std::uint64_t kWorkOfHonestUnits = 3'000'000;
inline constexpr std::uint64_t kWorkOfAQuarterSecond = 600'000;

// For one unit: make one, then take() its slices in order.
class H264WorkBounds {
 public:
  // stream: must outlive this. mostWork: of a unit with several slices, one of the two above.
  H264WorkBounds(const H264Sps& stream, std::uint64_t mostWork)
      : stream_(stream), mostWork_(mostWork) {}

  // size: bytes of the slice. False when it goes beyond the bounds: its first macroblock is not
  // behind that of the slice before (the second field of a frame begins again at 0), or there are
  // too many slices, too many macroblocks behind them, or too much work for more than one slice.
  bool take(const H264SliceHeader& slice, std::size_t size);

 private:
  bool isInOrder(const H264SliceHeader& slice);
  std::uint64_t workOf(H264SliceType type, std::uint64_t macroblocks, std::size_t size) const;

  const H264Sps& stream_;
  const std::uint64_t mostWork_;
  std::optional<H264SliceHeader> last_;
  bool secondField_ = false;
  std::uint32_t slices_ = 0;
  std::uint64_t macroblocks_ = 0;  // from each slice's first to the end, summed up
  std::uint64_t work_ = 0;
};

}  // namespace quorvid
