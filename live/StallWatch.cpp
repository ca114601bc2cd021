#include "live/StallWatch.h"

#include <algorithm>

namespace quorvid {
namespace {

constexpr double kLongestPause = 30;

}  // namespace

StallWatch::StallWatch(double stallAfter, double now)
    : stallAfter_(stallAfter),
      pause_(stallAfter),
      lastPicture_(now),
      nextRestart_(now + stallAfter) {}

void StallWatch::pictureArrived(double now) {
  lastPicture_ = now;
  pause_ = stallAfter_;
  nextRestart_ = now + stallAfter_;
}

bool StallWatch::restartDue(double now) {
  if (stallAfter_ <= 0 || now < nextRestart_) return false;
  nextRestart_ = now + pause_;
  pause_ = std::max(stallAfter_, std::min(2 * pause_, kLongestPause));
  return true;
}

}  // namespace quorvid
