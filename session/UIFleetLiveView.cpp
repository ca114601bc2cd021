#include "quorvid/session/UIFleetLiveView.h"

#include <exception>
#include <utility>

#include "base/Clock.h"
#include "h264/Units.h"
#include "quorvid/base/Log.h"

namespace quorvid {
namespace {

constexpr int kCommandPort = 80;
constexpr int kFleetDeviceType = 2;
constexpr int kRefreshesPerFrame = 2;
constexpr double kPauseBetweenSessions = 0.5;  // seconds; lets the cancelled worker leave

// The type of the unit whose 4-byte start code begins at `unit`.
h264::UnitType unitType(const char* unit) {
  return h264::typeOf(static_cast<std::uint8_t>(unit[4]));
}

}  // namespace

std::shared_ptr<UIFleetLiveView> UIFleetLiveView::initWithFrame(CGRect frame) {
  struct LiveView : UIFleetLiveView {
    explicit LiveView(CGRect rectangle) : UIFleetLiveView(rectangle) {}
  };
  try {
    const std::shared_ptr<UIFleetLiveView> view = std::make_shared<LiveView>(frame);
    return view->setUp(frame) ? view : nullptr;
  } catch (const std::exception& error) {
    logMessage("UIFleetLiveView: not created: %s", error.what());
    return nullptr;
  }
}

UIFleetLiveView::UIFleetLiveView(CGRect frame) : UIView(frame) {}

// Stops nothing: the frame timer keeps a playing view alive.
UIFleetLiveView::~UIFleetLiveView() = default;

bool UIFleetLiveView::setUp(CGRect frame) {
  setBackgroundColor(UIColor::whiteColor());
  h264Decoder_ = H264HwDecoderImpl::init();
  if (h264Decoder_ == nullptr) return false;
  h264Decoder_->setDelegate(std::static_pointer_cast<UIFleetLiveView>(shared_from_this()));
  playLayer_ = AAPLEAGLLayer::initWithFrame(frame);
  if (playLayer_ == nullptr) return false;
  playLayer_->setBackgroundColor(UIColor::blackColor().CGColor());
  return true;
}

void UIFleetLiveView::setConnectionParm(const Text& host, int port, int channel, const Text& acc,
                                        const Text& pwd, const Text& deviceId) {
  Host = host;
  Port = port;
  Channel = channel;
  Acc = acc;
  Pwd = pwd;
  DeviceId = deviceId;
  isPlaying = 0;
}

void UIFleetLiveView::playVideo() {
  if (isPlaying != 0) {
    stopVideo();
    sleepForTimeInterval(kPauseBetweenSessions);
  }
  videoH264_ = VehicleVideo::initWithVideo(Host, Port, kCommandPort, Channel, Acc, Pwd,
                                           kFleetDeviceType, DeviceId, true);
  const auto self = std::static_pointer_cast<UIFleetLiveView>(shared_from_this());
  displayTimer_ = CADisplayLink::displayLinkWithTarget([self] { self->feedFrames(); });
  displayTimer_->setFrameInterval(kRefreshesPerFrame);
  displayTimer_->addToRunLoop(RunLoop::currentRunLoop(), NSDefaultRunLoopMode);
  layer()->addSublayer(playLayer_);
  isPlaying = 1;
}

void UIFleetLiveView::stopVideo() {
  const auto self = shared_from_this();  // the timer may hold the last reference
  if (videoH264_ != nullptr) {
    videoH264_->cancelVideoThread();
    videoH264_.reset();
  }
  if (displayTimer_ != nullptr) {
    displayTimer_->invalidate();
    displayTimer_.reset();
  }
  if (playLayer_ != nullptr) playLayer_->removeFromSuperlayer();
  isPlaying = 0;
}

void UIFleetLiveView::restartVdieo() {
  if (videoH264_ == nullptr) return;
  stopVideo();
  sleepForTimeInterval(kPauseBetweenSessions);
  playVideo();
}

void UIFleetLiveView::feedFrames() {
  const std::shared_ptr<VehicleVideo> session = videoH264_;
  if (session == nullptr || !session->getIsFrameReady()) return;
  char* const frame = session->getFrameData();
  const std::uint32_t length = session->getFrameLen();
  if (const std::shared_ptr<H264HwDecoderImpl> decoder = h264Decoder_) {
    if (unitType(frame) == h264::UnitType::Sps) {
      feedKeyFrame(*decoder, frame, length);
    } else {
      decoder->decodeNalu(frame, length);
    }
  }
  session->setIsFrameReady(false);
}

// A key frame as the recorders send it, every unit behind a 4-byte start code:
//
//    0..12   13 bytes   sequence parameter set
//   13..20    8 bytes   picture parameter set
//   21..29    9 bytes   supplemental information, only when byte 25 says so; skipped
//   21 (30)..           the picture, up to the frame's end
//
// A frame shorter than that wraps the last length round; the decoder refuses such a unit. All
// offsets lie inside the session's buffer, whatever the length.
void UIFleetLiveView::feedKeyFrame(H264HwDecoderImpl& decoder, char* frame, std::uint32_t length) {
  constexpr std::uint32_t kSpsSize = 13;
  constexpr std::uint32_t kPpsSize = 8;
  constexpr std::uint32_t kSeiSize = 9;
  decoder.decodeNalu(frame, kSpsSize);
  decoder.decodeNalu(frame + kSpsSize, kPpsSize);
  std::uint32_t picture = kSpsSize + kPpsSize;
  if (unitType(frame + picture) == h264::UnitType::Sei) picture += kSeiSize;
  decoder.decodeNalu(frame + picture, length - picture);
}

void UIFleetLiveView::displayDecodedFrame(CVPixelBufferRef pixelBuffer) {
  if (pixelBuffer == nullptr) return;
  if (playLayer_ != nullptr) playLayer_->setPixelBuffer(pixelBuffer);
  CVPixelBufferRelease(pixelBuffer);
}

void UIFleetLiveView::setVideoH264(std::shared_ptr<VehicleVideo> session) {
  videoH264_ = std::move(session);
}

void UIFleetLiveView::setDisplayTimer(std::shared_ptr<CADisplayLink> timer) {
  displayTimer_ = std::move(timer);
}

void UIFleetLiveView::setH264Decoder(std::shared_ptr<H264HwDecoderImpl> decoder) {
  h264Decoder_ = std::move(decoder);
}

void UIFleetLiveView::setPlayLayer(std::shared_ptr<AAPLEAGLLayer> layer) {
  playLayer_ = std::move(layer);
}

}  // namespace quorvid
