#include "h264/Continuity.h"

#include <algorithm>

namespace quorvid::h264 {
namespace {

constexpr int kGroupsThatProve = 3;
constexpr int kLateWeighs = 3, kLeastProof = -60;
constexpr double kPaced = 0.005;  // seconds a picture: below that they don't come as they were made
constexpr double kLate = 1.5;     // times the usual

}  // namespace

void Continuity::announce(std::optional<std::uint32_t> recoveryFrameCnt) {
  if (recoveryFrameCnt) announced_ = recoveryFrameCnt;
}

bool Continuity::take(const PictureInfo& picture, double now) {
  const bool isSecond = isSecondField(picture);
  const bool lacksField = firstField_ && !isSecond && isReference_;
  const std::uint32_t difference = isSecond ? 0 : differenceOf(picture);
  if (difference != 0 || lacksField || picture.isIdr) recoveryFrom_.reset();
  const bool isRecovered = this->isRecovered(picture);
  // I slices help nobody but this picture when nothing may refer to it.
  startsAnew_ =
      picture.isIdr || isRecovered || (picture.isIntra && picture.isReference && !isSecond);
  if (startsAnew_) {
    if (!isSecond) beginGroup();
    if (!isSecond) begun_ = now;
  } else {
    if (!isSecond) ++place_;
    if (lacksField) lose();
    if (difference != 0) noteGap(difference, now - last_);
  }
  if (!isSecond) {
    order_.take(picture, difference);
    last_ = now;
  }
  note(picture, isSecond);
  return startsAnew_ || !isHeld_;
}

void Continuity::decoded(bool isWhole) {
  if (isWhole) {
    if (startsAnew_) isHeld_ = false;
    return;
  }
  isDamaged_ = true;
  if (isReference_) hold();
}

void Continuity::lose() {
  isDamaged_ = true;
  startsAnew_ = false;
  hold();
}

void Continuity::hold() {
  isHeld_ = true;
  recoveryFrom_.reset();
}

bool Continuity::isSecondField(const PictureInfo& picture) const {
  const PictureStructure structure = picture.first.structure;
  return firstField_ && structure != PictureStructure::Frame &&
         structure != firstField_->structure && picture.first.frameNum == firstField_->frameNum;
}

// Of several recovery points the one counts that is over first.
bool Continuity::isRecovered(const PictureInfo& picture) {
  const auto count = picture.recoveryFrameCnt ? picture.recoveryFrameCnt : announced_;
  announced_.reset();
  const std::uint32_t frameNum = picture.first.frameNum;
  if (count && (!recoveryFrom_ || *count + wrapped(frameNum - *recoveryFrom_) < recoveryCount_)) {
    recoveryFrom_ = frameNum;
    recoveryCount_ = *count;
  }
  if (!recoveryFrom_ || wrapped(frameNum - *recoveryFrom_) < recoveryCount_) return false;
  recoveryFrom_.reset();
  return true;
}

void Continuity::beginGroup() {
  const bool isOdd = gap_ && !isDamaged_ && order_.isComplete();
  if (!isOdd || gap_ != usualGap_) proof_ = 0;
  if (isOdd) proof_ = isGapLate() ? std::max(proof_ - kLateWeighs, kLeastProof) : proof_ + 1;
  if (proof_ == kGroupsThatProve) trustsNumbers_ = false;
  usualGap_ = gap_;
  order_.beginGroup();
  place_ = 0;
  gap_.reset();
  isDamaged_ = false;
}

// Between the number that the picture should have and the one that it has.
std::uint32_t Continuity::differenceOf(const PictureInfo& picture) const {
  if (stream_.gapsInFrameNumAllowed || !trustsNumbers_) return 0;
  const std::uint32_t difference = wrapped(picture.first.frameNum - lastReference_ - 1);
  return difference == 0 && order_.isTurnsAway(picture) ? 1U << stream_.log2MaxFrameNum
                                                        : difference;
}

bool Continuity::isGapLate() const {
  if (place_ < 2) return false;
  const double usual = (last_ - begun_ - gapSeconds_) / (place_ - 1);
  return usual > kPaced && gapSeconds_ > kLate * usual;
}

void Continuity::noteGap(std::uint32_t difference, double waited) {
  if (gap_) return;  // held since the group's first one
  gap_ = Gap{place_, difference};
  gapSeconds_ = waited;
  hold();
}

void Continuity::note(const PictureInfo& picture, bool isSecond) {
  isReference_ = picture.isReference;
  const bool isField = picture.first.structure != PictureStructure::Frame;
  firstField_.reset();
  if (isField && !isSecond && !picture.hasBothFields) firstField_ = picture.first;
  if (picture.resetsFrameNum) {
    order_.reset();
    lastReference_ = 0;
  } else if (picture.isReference) {
    lastReference_ = picture.first.frameNum;
  } else {
    lastReference_ = wrapped(picture.first.frameNum - 1);  // as it has to be
  }
}

}  // namespace quorvid::h264
