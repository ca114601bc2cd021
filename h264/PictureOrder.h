// PictureOrder: what the picture order counts of a stream say of pictures that may be missing.
//
// In type 0 a slice carries the low bits of its place in the order of showing, whatever its
// frame_num. So where pictures were lost, places are empty; where frame_num alone is wrong, none
// is. Types 1 and 2 make the place out of frame_num, which tells nothing new. One thread.
#pragma once

#include <cstdint>
#include <optional>

#include "h264/Units.h"

namespace quorvid::h264 {

class PictureOrder {
 public:
  explicit PictureOrder(const Sps& stream);

  // The next picture begins a group.
  void beginGroup();
  // A frame or the first field of one. difference: of its frame_num to the one that is due.
  void take(const PictureInfo& picture, std::uint32_t difference);
  // Counting began again behind the picture taken last.
  void reset();

  // Nothing is missing in the group so far: its pictures stand one step apart, the smallest that
  // was seen between pictures with successive numbers, or 2 where there are none of those. Types 1
  // and 2 can't tell otherwise.
  bool isComplete() const;
  // The picture, not taken yet, stands whole turns of frame_num away from its place, after several
  // that stood evenly: as many pictures were lost, which frame_num can't show.
  bool isTurnsAway(const PictureInfo& picture) const;

 private:
  std::int64_t placeOf(const PictureInfo& picture) const;
  void noteStep(std::int64_t step, bool isSuccessive);

  bool isCoded_;  // type 0
  std::uint32_t turn_;
  std::int64_t range_;  // of the low bits
  std::int64_t last_ = 0, lastReference_ = 0;
  std::int64_t step_ = 0;     // of the last picture from the one before
  std::uint32_t evenly_ = 0;  // pictures in a row that came with it
  std::optional<std::int64_t> smallestStep_;
  // The present group.
  std::uint32_t pictures_ = 0;
  std::int64_t first_ = 0, furthest_ = 0;  // in the order of showing
  bool isWhole_ = false;
};

}  // namespace quorvid::h264
