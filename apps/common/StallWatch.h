// StallWatch: decides when a stream counts as stalled and when to start it anew.
//
// A worker whose server closed in order does not notice and waits for ever, so whoever shows the
// pictures has to watch their times. After `stallAfter` seconds without a picture the stream is
// stalled and a restart is due; while it stays stalled, further ones follow after pauses that
// double up to 30 s (5, 10, 20, 30 for 5 s). The next picture ends the stall and the pauses begin
// anew.
//
// Plain logic, one thread; times are seconds of any steady clock.
#pragma once

namespace quorvid::app {

class StallWatch {
 public:
  // stallAfter: above 0. now: when the stream was started.
  StallWatch(double stallAfter, double now);

  void pictureArrived(double now);
  // True when a restart is due; the next one is put off by the next pause.
  bool restartDue(double now);
  // The stream was started anew by hand: pauses begin anew, the stall stays until a picture comes.
  void restartedByHand(double now);

  bool isStalled(double now) const { return now - lastPicture_ >= stallAfter_; }
  // Seconds since the last picture, or since the start.
  double silence(double now) const { return now - lastPicture_; }
  // Seconds from now to the next restart if nothing comes.
  double untilRestart(double now) const { return nextRestart_ - now; }

 private:
  double stallAfter_;
  double pause_;
  double lastPicture_;
  double nextRestart_;
};

}  // namespace quorvid::app
