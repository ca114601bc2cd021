#include "apps/quorvid/view/CarPlayer.h"

#include "apps/common/Failure.h"

namespace quorvid::app {

std::unique_ptr<CarPlayer> CarPlayer::make(const StreamTarget& target, CGSize size,
                                           PictureHandler shown) {
  std::shared_ptr<AAPLEAGLLayer> layer = AAPLEAGLLayer::initWithFrame(CGRect{{0, 0}, size});
  if (!layer) return nullptr;
  return std::unique_ptr<CarPlayer>(new CarPlayer(target, std::move(layer), std::move(shown)));
}

CarPlayer::CarPlayer(const StreamTarget& target, std::shared_ptr<AAPLEAGLLayer> layer,
                     PictureHandler shown)
    : target_(target), view_(UIView::initWithFrame(layer->frame())), layer_(std::move(layer)) {
  const auto show = [this](CVPixelBufferRef picture) {
    layer_->setPixelBuffer(picture);
    CVPixelBufferRelease(picture);
  };
  tap_ = std::make_shared<PictureTap>(
      show, [this] { return streamSize_; }, std::move(shown));
  layer_->setBackgroundColor(UIColor::blackColor().CGColor());
  view_->layer()->addSublayer(layer_);
}

CarPlayer::~CarPlayer() {
  CarPlayer::stop();
}

void CarPlayer::play() {
  decoder_ = H264HwDecoderImpl::init();
  decoder_->setDelegate(tap_);
  startError_.clear();
  try {
    receiver_ = std::make_unique<StreamReceiver>(target_);
  } catch (const Failure& failure) {
    startError_ = failure.what();
    return;
  }
  link_ = CADisplayLink::displayLinkWithTarget([this] { tick(); });
  link_->setFrameInterval(2);
  link_->addToRunLoop(RunLoop::currentRunLoop(), NSDefaultRunLoopMode);
}

void CarPlayer::stop() {
  if (link_) {
    link_->invalidate();
    link_.reset();
  }
  receiver_.reset();
}

void CarPlayer::tick() {
  lookupFailed_ = lookupFailed_ || receiver_->hasFailed();
  if (const auto frame = receiver_->frame()) {
    receivedFrames_ = true;
    decode(*frame);
    receiver_->release();
  }
}

// Parameter sets go to the decoder one by one, what only describes is left out, and everything from
// the first slice on is one unit: a picture in several slices must reach the decoder whole. The
// decoder writes over the 4 bytes before each unit's header, which belong to units already used.
void CarPlayer::decode(StreamReceiver::Frame frame) {
  using h264::UnitType;
  const h264::ByteView bytes(frame.bytes, frame.length);
  for (const h264::Unit& unit : h264::unitsOf(bytes)) {
    if (unit.header < 4 || unit.type == UnitType::Sei) continue;
    const bool parameters = unit.type == UnitType::Sps || unit.type == UnitType::Pps;
    if (unit.type == UnitType::Sps) streamSize_ = sizeOfSps(unit.in(bytes));
    char* const start = reinterpret_cast<char*>(frame.bytes) + unit.header - 4;
    const std::size_t end = parameters ? unit.end : frame.length;
    decoder_->decodeNalu(start, static_cast<std::uint32_t>(end - (unit.header - 4)));
    if (!parameters) break;
  }
}

void CarPlayer::resize(CGSize size) {
  view_->setFrame(CGRect{{0, 0}, size});
  resizeLayer(*layer_, size);
}

}  // namespace quorvid::app
