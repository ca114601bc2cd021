// Tile: one stream in the viewer's window: its player inside a container, its figures, its watch
// and its stall mark. Main thread.
#ifndef QUORVID_APPS_QUORVID_TILE_H
#define QUORVID_APPS_QUORVID_TILE_H

#include <memory>

#include "apps/quorvid/PictureMeter.h"
#include "apps/quorvid/Player.h"
#include "apps/quorvid/StallMark.h"
#include "apps/quorvid/StallWatch.h"

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

  void play() { player_->play(); }
  void stop() { player_->stop(); }
  void setFrame(CGRect frame);
  // Marks a stalled stream and starts it anew when that is due.
  void look(double now);
  void restartByHand();

 private:
  Tile(StreamTarget target, CGRect frame, double stallAfter, double now);
  void pictureShown(const ShownPicture& picture);
  void noteStall(double now) const;

  StreamTarget target_;
  std::shared_ptr<UIView> container_;
  StallMark mark_;
  StallWatch watch_;
  PictureMeter meter_;
  unsigned restarts_ = 0;
  std::unique_ptr<Player> player_;  // last: it calls pictureShown()
};

}  // namespace quorvid::app

#endif
