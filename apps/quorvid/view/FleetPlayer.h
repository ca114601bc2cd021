// FleetPlayer: the fleet path, played by the library's live view.
#pragma once

#include "apps/quorvid/view/PictureTap.h"
#include "apps/quorvid/view/Player.h"
#include "quorvid/session/UIFleetLiveView.h"

namespace quorvid::app {

class FleetPlayer : public Player {
 public:
  static std::unique_ptr<FleetPlayer> make(const StreamTarget& target, CGSize size,
                                           PictureHandler shown);
  ~FleetPlayer() override;

  std::shared_ptr<UIView> view() const override { return view_; }
  void play() override;
  void stop() override;
  void resize(CGSize size) override;
  bool hasReceivedFrames() override;

 private:
  FleetPlayer(std::shared_ptr<UIFleetLiveView> view, PictureHandler shown);

  std::shared_ptr<UIFleetLiveView> view_;
  std::shared_ptr<PictureTap> tap_;
  bool receivedFrames_ = false;
};

}  // namespace quorvid::app
