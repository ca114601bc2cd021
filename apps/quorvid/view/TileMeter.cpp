#include "apps/quorvid/view/TileMeter.h"

#include <algorithm>
#include <utility>

namespace quorvid::app {

bool TileMeter::look(const LiveFigures& figures, double now) {
  longestPause_ = std::max(longestPause_, silence(now));
  const std::uint64_t shown = before_.shown + figures.shown;
  if (std::exchange(shown_, shown) == shown) return false;
  lastPicture_ = now - figures.sinceLastPicture;
  if (firstPicture_ < 0) firstPicture_ = now - figures.playing + figures.firstPicture;
  return true;
}

void TileMeter::restartedByHand() {
  ++before_.restarts;
  ++before_.reconnections;
}

double TileMeter::silence(double now) const {
  return now - std::max(since_, lastPicture_);
}

double TileMeter::sinceLastPicture(double now) const {
  return now - (lastPicture_ < 0 ? start_ : lastPicture_);
}

LiveFigures TileMeter::sum(const LiveFigures& figures) const {
  LiveFigures sum = figures;
  sum.received += before_.received;
  sum.bytes += before_.bytes;
  sum.decoded += before_.decoded;
  sum.shown += before_.shown;
  sum.longestPause = std::max(sum.longestPause, before_.longestPause);
  sum.overwritten += before_.overwritten;
  sum.held += before_.held;
  sum.lost += before_.lost;
  sum.reconnections += before_.reconnections;
  sum.restarts += before_.restarts;
  if (sum.streamWidth == 0) {
    sum.streamWidth = before_.streamWidth;
    sum.streamHeight = before_.streamHeight;
    sum.shape = before_.shape;
  }
  return sum;
}

void TileMeter::fillIn(TileReport& report, const LiveFigures& figures, double now) const {
  report.figures = sum(figures);
  report.silence = sinceLastPicture(now);
  report.longestPause = std::max(longestPause_, silence(now));
  if (firstPicture_ < 0) return;
  report.firstPictureSeconds = firstPicture_ - start_;
  const auto pictures = static_cast<double>(report.figures.shown);
  if (pictures > 1) report.framesPerSecond = (pictures - 1) / (now - firstPicture_);
}

}  // namespace quorvid::app
