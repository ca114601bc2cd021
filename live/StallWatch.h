// StallWatch: decides when a stream counts as stalled and when to start it anew.
//
// A worker whose server closed in order may wait for ever, so whoever shows the pictures watches
// their times. After `stallAfter` seconds without a picture the stream is stalled and a restart is
// due; while it stays stalled, further ones follow after pauses that double up to 30 s (5, 10, 20,
// 30 for 5 s). The next picture ends the stall and the pauses begin anew.
//
// Plain logic, one thread; times are seconds of any steady clock.
#pragma once

#include <algorithm>

namespace quorvid {

class StallWatch {
 public:
  // stallAfter: 0 never. now: when the stream was started.
  StallWatch(double stallAfter, double now)
      : stallAfter_(stallAfter),
        pause_(stallAfter),
        lastPicture_(now),
        nextRestart_(now + stallAfter) {}

  void pictureArrived(double now) { *this = StallWatch(stallAfter_, now); }
  // True when a restart is due; the next one is put off by the next pause.
  bool restartDue(double now) {
    if (stallAfter_ <= 0 || now < nextRestart_) return false;
    nextRestart_ = now + pause_;
    pause_ = std::max(stallAfter_, std::min(2 * pause_, kLongestPause));
    return true;
  }

  bool isStalled(double now) const { return stallAfter_ > 0 && silence(now) >= stallAfter_; }
  // Seconds since the last picture, or since the start.
  double silence(double now) const { return now - lastPicture_; }
  // Seconds from now to the next restart if nothing comes.
  double untilRestart(double now) const { return nextRestart_ - now; }

 private:
  static constexpr double kLongestPause = 30;

  double stallAfter_;
  double pause_;
  double lastPicture_;
  double nextRestart_;
};

}  // namespace quorvid
