#include "apps/quorvid/view/Tile.h"

#include <cstdio>
#include <limits>
#include <utility>

#include "apps/common/Deadline.h"

namespace quorvid::app {

namespace {
constexpr double kPauseBetweenStreams = 0.5;  // seconds; lets the cancelled worker leave
}

std::unique_ptr<Tile> Tile::make(const StreamTarget& target, UIView& parent, CGRect frame,
                                 double stallAfter) {
  std::unique_ptr<Tile> tile(new Tile(target, frame, stallAfter, steadySeconds()));
  Tile* const self = tile.get();
  tile->player_ = makePlayer(target, frame.size,
                             [self](const ShownPicture& picture) { self->pictureShown(picture); });
  if (!tile->player_) return nullptr;
  tile->container_->addSubview(tile->player_->view());
  parent.addSubview(tile->container_);
  return tile;
}

Tile::Tile(StreamTarget target, CGRect frame, double stallAfter, double now)
    : target_(std::move(target)),
      container_(UIView::initWithFrame(frame)),
      mark_(container_),
      watch_(stallAfter, now),
      meter_(now),
      playDue_(now) {}

void Tile::setFrame(CGRect frame) {
  container_->setFrame(frame);
  player_->resize(frame.size);
  mark_.resize();
}

void Tile::play(LogFilter& log) {
  playDue_ = std::numeric_limits<double>::infinity();
  player_->play();
  const std::string refusal = log.takeThreadRefusal();
  startError_ = refusal.empty() ? player_->startError() : refusal;
  if (!startError_.empty()) {
    std::fprintf(stderr, "quorvid: channel %d: %s\n", target_.channel, startError_.c_str());
  }
}

void Tile::look(double now) {
  player_->hasReceivedFrames();
  if (watch_.isStalled(now)) mark_.show();
  if (watch_.restartDue(now)) {
    noteStall(now);
    stopForRestart(now);
  }
}

void Tile::restartByHand() {
  const double now = steadySeconds();
  watch_.restartedByHand(now);
  stopForRestart(now);
}

// Nothing for a tile that waits to play already.
void Tile::stopForRestart(double now) {
  if (playDue_ > now + kPauseBetweenStreams) {
    ++restarts_;
    player_->stop();
    playDue_ = now + kPauseBetweenStreams;
  }
}

void Tile::pictureShown(const ShownPicture& picture) {
  const double now = steadySeconds();
  if (mark_.isShown()) {
    std::fprintf(stderr, "quorvid: channel %d: a picture again after %.1f s\n", target_.channel,
                 watch_.silence(now));
    mark_.hide();
  }
  watch_.pictureArrived(now);
  meter_.pictureShown(now, picture.size);
  if (picture.streamSize) meter_.setStreamSize(*picture.streamSize);
}

void Tile::noteStall(double now) const {
  std::fprintf(stderr,
               "quorvid: channel %d: no picture for %.1f s, starting the stream again (next try in "
               "%.0f s)\n",
               target_.channel, watch_.silence(now), watch_.untilRestart(now));
}

}  // namespace quorvid::app
