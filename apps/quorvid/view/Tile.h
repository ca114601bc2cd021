// Tile: one stream in the viewer's window: its player inside a container, its figures, its watch
// and its stall mark. Main thread.
#pragma once

#include <memory>

#include "apps/common/Output.h"
#include "apps/common/Stream.h"
#include "apps/quorvid/view/PictureMeter.h"
#include "apps/quorvid/view/Player.h"
#include "apps/quorvid/view/StallMark.h"

namespace quorvid::app {

class Tile {
 public:
  // Null when the graphics can't be had. The tile adds its container to `parent`.
  static std::unique_ptr<Tile> make(const StreamTarget& target, UIView& parent, CGRect frame,
                                    double stallAfter);

  const StreamTarget& target() const { return target_; }
  const PictureMeter& meter() const { return meter_; }
  Player& player() { return *player_; }
  unsigned restarts() const { return restarts_; }
  bool isStalled() const { return mark_.isShown(); }
  double silence(double now) const { return watch_.silence(now); }

  // When play() is to be called; infinite while the stream plays.
  double playDue() const { return playDue_; }
  // log: knows why the library could not start.
  void play(LogFilter& log);
  // Why the last play() could not start; empty when it did.
  const std::string& startError() const { return startError_; }
  void setFrame(CGRect frame);
  // Marks a stalled stream, and stops it when it is to be started anew: see playDue().
  void look(double now);
  void restartByHand();

 private:
  Tile(StreamTarget target, CGRect frame, double stallAfter, double now);
  void pictureShown(const ShownPicture& picture);
  void stopForRestart(double now);
  void noteStall(double now) const;

  StreamTarget target_;
  std::shared_ptr<UIView> container_;
  StallMark mark_;
  StallWatch watch_;
  PictureMeter meter_;
  unsigned restarts_ = 0;
  double playDue_;
  std::string startError_;
  std::unique_ptr<Player> player_;  // last: it calls pictureShown()
};

}  // namespace quorvid::app
