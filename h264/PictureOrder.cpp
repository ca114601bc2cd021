#include "h264/PictureOrder.h"

#include <algorithm>
#include <cstdlib>

namespace quorvid::h264 {
namespace {

constexpr std::uint32_t kEvenly = 8;
// A place for each field, as nearly all encoders count.
constexpr std::int64_t kUsualStep = 2;

}  // namespace

PictureOrder::PictureOrder(const Sps& stream)
    : isCoded_(stream.picOrderCntType == 0),
      turn_(1U << stream.log2MaxFrameNum),
      range_(std::int64_t{1} << stream.log2MaxPicOrderCntLsb) {}

void PictureOrder::beginGroup() {
  pictures_ = 0;
  isWhole_ = true;
}

void PictureOrder::take(const PictureInfo& picture, std::uint32_t difference) {
  const std::int64_t place = placeOf(picture);
  if (!picture.isIdr) noteStep(place - last_, difference == 0);
  first_ = pictures_ == 0 ? place : std::min(first_, place);
  furthest_ = pictures_ == 0 ? place : std::max(furthest_, place);
  ++pictures_;
  last_ = place;
  if (picture.isReference) lastReference_ = place;
}

void PictureOrder::reset() {
  last_ = lastReference_ = 0;
  evenly_ = 0;
  isWhole_ = false;
}

bool PictureOrder::isComplete() const {
  if (!isCoded_) return true;
  if (!isWhole_) return false;
  return furthest_ - first_ == (pictures_ - std::int64_t{1}) * smallestStep_.value_or(kUsualStep);
}

bool PictureOrder::isTurnsAway(const PictureInfo& picture) const {
  if (!isCoded_ || picture.isIdr || step_ <= 0 || evenly_ < kEvenly) return false;
  const std::int64_t away = placeOf(picture) - last_ - step_;
  return away != 0 && away % (step_ * turn_) == 0;
}

// The low bits stand for the place that is nearest to the last reference's.
std::int64_t PictureOrder::placeOf(const PictureInfo& picture) const {
  if (!isCoded_) return 0;
  const std::int64_t from = picture.isIdr ? 0 : lastReference_;
  const std::int64_t ahead = (picture.first.picOrderCntLsb - from) & (range_ - 1);
  return from + (ahead < range_ / 2 ? ahead : ahead - range_);
}

void PictureOrder::noteStep(std::int64_t step, bool isSuccessive) {
  evenly_ = step == step_ ? evenly_ + 1 : 1;
  step_ = step;
  if (isSuccessive && step != 0) {
    smallestStep_ = std::min(smallestStep_.value_or(range_), std::abs(step));
  }
}

}  // namespace quorvid::h264
