#include "session/control/Standins.h"

#include <algorithm>

#include "base/Clock.h"
#include "quorvid/connection/VehicleConnection.h"

namespace quorvid::test {

Standins standins;

namespace {

void note(const std::string& entry) {
  standins.journal.push_back(entry);
}

char frameMemory[QUORVID_FRAME_CAPACITY];

}  // namespace
}  // namespace quorvid::test

namespace quorvid {

using test::frameMemory;
using test::note;
using test::standins;

// ---- clock

double timeIntervalSince1970() {
  return 0;
}
double steadySeconds() {
  return 0;
}
void sleepForTimeInterval(double seconds) {
  note("sleep " + std::to_string(seconds));
}

// ---- session

std::shared_ptr<VehicleVideo> VehicleVideo::initWithVideo(const Text& host, int media_port,
                                                          int cmd_port, int channel,
                                                          const Text& acc, const Text& pwd,
                                                          int device_type, const Text& carId,
                                                          bool isPFrame) {
  struct Session : VehicleVideo {};
  note("session " + host.description() + " " + std::to_string(media_port) + " " +
       std::to_string(cmd_port) + " " + std::to_string(channel) + " " + acc.description() + " " +
       pwd.description() + " " + std::to_string(device_type) + " " + carId.description() +
       (isPFrame ? " true" : " false"));
  if (host.length() == 0) return nullptr;
  std::fill(std::begin(frameMemory), std::end(frameMemory), '\0');
  auto session = std::make_shared<Session>();
  session->Channel = channel;
  session->FrameData = std::unique_ptr<char, void (*)(void*)>(frameMemory, [](void*) {});
  session->FrameLen = standins.frameLength;
  return session;
}
VehicleVideo::~VehicleVideo() {
  note("session gone");
}
void VehicleVideo::cancelVideoThread() {
  note("cancel");
}
bool VehicleVideo::getIsFrameReady() const {
  if (standins.frameReady) {
    standins.frame.copy(static_cast<char*>(frameMemory), standins.frame.size());
  }
  return standins.frameReady;
}
void VehicleVideo::setIsFrameReady(std::uint8_t flag) {
  note(flag != 0 ? "ready" : "clear");
  standins.frameReady = flag != 0;
}

// ---- decoder

H264HwDecoderImplDelegate::~H264HwDecoderImplDelegate() = default;

std::shared_ptr<H264HwDecoderImpl> H264HwDecoderImpl::init() {
  struct Decoder : H264HwDecoderImpl {};
  return standins.decoderCanBeMade ? std::make_shared<Decoder>() : nullptr;
}
H264HwDecoderImpl::~H264HwDecoderImpl() = default;
void H264HwDecoderImpl::setDelegate(const std::shared_ptr<H264HwDecoderImplDelegate>& delegate) {
  _delegate = delegate;
}
// Rewrites the start code in place, as the real one does.
void H264HwDecoderImpl::decodeNalu(char* frame, std::uint32_t frameSize) {
  note("decode " + std::to_string(frame - static_cast<char*>(frameMemory)) + " " +
       std::to_string(frameSize) + (standins.frameReady ? "" : " too late"));
  std::fill_n(frame, 4, '\x46');
  if (const auto target = delegate(); target != nullptr && standins.whenDecoding) {
    standins.whenDecoding(*target);
  }
}

// ---- layer and picture

std::shared_ptr<AAPLEAGLLayer> AAPLEAGLLayer::initWithFrame(CGRect frame) {
  struct Layer : AAPLEAGLLayer {};
  standins.layerFrame = frame;
  return standins.layerCanBeMade ? std::make_shared<Layer>() : nullptr;
}
AAPLEAGLLayer::~AAPLEAGLLayer() = default;
void AAPLEAGLLayer::setPixelBuffer(CVPixelBufferRef pixelBuffer) {
  note(pixelBuffer != nullptr ? "show" : "show nothing");
}
void CVPixelBufferRelease(CVPixelBufferRef /*buffer*/) {
  note("release");
}

}  // namespace quorvid
