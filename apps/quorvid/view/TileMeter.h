// TileMeter: the figures of one stream over all that was done by hand: a live view counts from zero
// at each play(). Plain logic, one thread; times are seconds of the steady clock.
#pragma once

#include "apps/quorvid/view/TileReport.h"

namespace quorvid::app {

class TileMeter {
 public:
  explicit TileMeter(double start) : start_(start), since_(start) {}

  // What the view counts now. True when it has shown a picture since the last look.
  bool look(const LiveFigures& figures, double now);
  // The view is about to count from zero; `figures` are its last.
  void countAnew(const LiveFigures& figures) { before_ = sum(figures); }
  void restartedByHand();
  // What was before is no silence: the stream was paused or hidden.
  void forgetSilence(double now) { since_ = now; }

  // Seconds without a picture, of those in which there should have been one.
  double silence(double now) const;
  bool hadPicture() const { return firstPicture_ >= 0; }
  // Seconds since the last picture, or since the start.
  double sinceLastPicture(double now) const;
  // The report's figures and times.
  void fillIn(TileReport& report, const LiveFigures& figures, double now) const;

 private:
  LiveFigures sum(const LiveFigures& figures) const;

  const double start_;
  double since_;
  double firstPicture_ = -1, lastPicture_ = -1, longestPause_ = 0;
  LiveFigures before_;
  std::uint64_t shown_ = 0;  // at the last look, summed
};

}  // namespace quorvid::app
