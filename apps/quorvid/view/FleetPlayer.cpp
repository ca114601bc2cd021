#include "apps/quorvid/view/FleetPlayer.h"

namespace quorvid::app {

std::unique_ptr<FleetPlayer> FleetPlayer::make(const StreamTarget& target, CGSize size,
                                               PictureHandler shown) {
  std::shared_ptr<UIFleetLiveView> view = UIFleetLiveView::initWithFrame(CGRect{{0, 0}, size});
  if (!view || !view->playLayer() || !view->h264Decoder()) return nullptr;
  view->setConnectionParm(target.server.host, target.server.port, target.channel, target.account,
                          target.password, target.device);
  return std::unique_ptr<FleetPlayer>(new FleetPlayer(std::move(view), std::move(shown)));
}

FleetPlayer::FleetPlayer(std::shared_ptr<UIFleetLiveView> view, PictureHandler shown)
    : view_(std::move(view)) {
  // The tap must not keep the view alive: the view keeps the decoder that calls it.
  const std::weak_ptr<UIFleetLiveView> weak = view_;
  const auto show = [weak](CVPixelBufferRef picture) {
    if (const auto live = weak.lock()) {
      live->displayDecodedFrame(picture);
    } else {
      CVPixelBufferRelease(picture);
    }
  };
  const auto streamSize = [weak]() -> std::optional<PixelSize> {
    const auto live = weak.lock();
    if (!live || !live->videoH264()) return std::nullopt;
    return streamSizeOf(live->videoH264()->getFrameData(), live->videoH264()->getFrameLen());
  };
  tap_ = std::make_shared<PictureTap>(show, streamSize, std::move(shown));
}

FleetPlayer::~FleetPlayer() {
  view_->stopVideo();
}

void FleetPlayer::play() {
  const std::shared_ptr<H264HwDecoderImpl> decoder = H264HwDecoderImpl::init();
  decoder->setDelegate(tap_);
  view_->setH264Decoder(decoder);
  view_->playVideo();
}

// The view takes its layer away.
void FleetPlayer::stop() {
  view_->stopVideo();
  view_->layer()->addSublayer(view_->playLayer());
}

void FleetPlayer::resize(CGSize size) {
  view_->setFrame(CGRect{{0, 0}, size});
  resizeLayer(*view_->playLayer(), size);
}

bool FleetPlayer::hasReceivedFrames() {
  // Asked between two ticks of the view's timer, a frame that waits for the next one shows.
  receivedFrames_ =
      receivedFrames_ || (view_->videoH264() && view_->videoH264()->getIsFrameReady());
  return receivedFrames_;
}

}  // namespace quorvid::app
