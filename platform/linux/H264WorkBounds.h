// H264WorkBounds: how much a unit's slices may ask of a decoder.
//
// A slice of a few bytes can stand for all macroblocks from its first to the picture's end, and a
// decoder notices only behind it that the next slice begins before that. So the work is estimated
// from the slices' headers and sizes, before a decoder sees any of them: whatever the slices hold,
// a unit within the bounds takes about a quarter of a second of processor time at most.
#ifndef QUORVID_PLATFORM_LINUX_H264_WORK_BOUNDS_H
#define QUORVID_PLATFORM_LINUX_H264_WORK_BOUNDS_H

#include <cstddef>
#include <cstdint>
#include <optional>

#include "platform/linux/H264SliceHeader.h"

namespace quorvid {

// For one unit: make one, then take() its slices in order.
class H264WorkBounds {
 public:
  // stream: must outlive this.
  explicit H264WorkBounds(const H264Sps& stream) : stream_(stream) {}

  // size: bytes of the slice. False when it goes beyond the bounds: its first macroblock is not
  // behind that of the slice before (the second field of a frame begins again at 0), or there are
  // too many slices, or too much work for more than one slice.
  bool take(const H264SliceHeader& slice, std::size_t size);

 private:
  bool isInOrder(const H264SliceHeader& slice);
  std::uint64_t workOf(H264SliceType type, std::uint64_t macroblocks, std::size_t size) const;

  const H264Sps& stream_;
  std::optional<H264SliceHeader> last_;
  bool secondField_ = false;
  std::uint32_t slices_ = 0;
  std::uint64_t work_ = 0;
};

}  // namespace quorvid

#endif
