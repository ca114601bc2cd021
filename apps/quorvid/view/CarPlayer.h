// CarPlayer: a stream of the car or relay path, drawn by decoder and layer without the live view:
// what a host writes that drives those by itself.
//
// The worker of a StreamReceiver fills the slot; a display link looks into it on the main thread at
// every second refresh, decodes what it finds and gives the slot back; the decoder hands the
// picture to the tap before it returns, and the tap to the layer.
#pragma once

#include "apps/common/Stream.h"
#include "apps/quorvid/view/PictureTap.h"
#include "apps/quorvid/view/Player.h"
#include "quorvid/render/AAPLEAGLLayer.h"
#include "quorvid/view/RunLoop.h"

namespace quorvid::app {

class CarPlayer : public Player {
 public:
  static std::unique_ptr<CarPlayer> make(const StreamTarget& target, CGSize size,
                                         PictureHandler shown);
  ~CarPlayer() override;

  std::shared_ptr<UIView> view() const override { return view_; }
  void play() override;
  void stop() override;
  std::string startError() const override { return startError_; }
  void resize(CGSize size) override;
  bool hasReceivedFrames() override { return receivedFrames_; }
  bool lookupFailed() const override { return lookupFailed_; }

 private:
  CarPlayer(const StreamTarget& target, std::shared_ptr<AAPLEAGLLayer> layer, PictureHandler shown);
  void tick();
  void decode(StreamReceiver::Frame frame);

  StreamTarget target_;
  std::shared_ptr<UIView> view_;
  std::shared_ptr<AAPLEAGLLayer> layer_;
  std::shared_ptr<H264HwDecoderImpl> decoder_;
  std::shared_ptr<PictureTap> tap_;
  std::shared_ptr<CADisplayLink> link_;
  std::unique_ptr<StreamReceiver> receiver_;
  std::string startError_;
  std::optional<PixelSize> streamSize_;
  bool receivedFrames_ = false;
  bool lookupFailed_ = false;
};

}  // namespace quorvid::app
