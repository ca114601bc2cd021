#include "quorvid/session/VehicleVideo.h"

#include <atomic>
#include <new>
#include <string>
#include <utility>

#include "base/Clock.h"
#include "base/Exception.h"
#include "base/Thread.h"
#include "quorvid/base/Log.h"
#include "quorvid/connection/VehicleConnection.h"

namespace quorvid {
namespace {

constexpr int kFleetDeviceType = 2;
constexpr int kLastFleetChannel = 7;

bool isValid(const Text& host, int channel, int deviceType) {
  if (channel < 0 || (deviceType == kFleetDeviceType && channel > kLastFleetChannel)) return false;
  return host.length() != 0;
}

void storeFlag(std::uint8_t& flag, std::uint8_t value) {
  std::atomic_ref<std::uint8_t>(flag).store(value, std::memory_order_release);
}

}  // namespace

std::shared_ptr<VehicleVideo> VehicleVideo::initWithVideo(const Text& host, int media_port,
                                                          int cmd_port, int channel,
                                                          const Text& acc, const Text& pwd,
                                                          int device_type, const Text& carId,
                                                          bool /*isPFrame*/) {
  struct Session : VehicleVideo {};
  if (!isValid(host, channel, device_type)) return nullptr;
  try {
    const std::shared_ptr<VehicleVideo> session = std::make_shared<Session>();
    session->Host = host;
    session->Media_port = media_port;
    session->Cmd_port = cmd_port;
    session->Channel = channel;
    session->Acc = acc;
    session->Pwd = pwd;
    session->deviceType = device_type;
    session->CarId = carId;
    return session->setUp() ? session : nullptr;
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

bool VehicleVideo::setUp() {
  // Zeroed: the view looks at fixed offsets of a frame, however short it is.
  FrameData.reset(static_cast<char*>(std::calloc(QUORVID_FRAME_CAPACITY, 1)));
  if (FrameData == nullptr) return false;
  startThread();
  return true;
}

// The body holds the session: the worker writes through pointers into it until it returns.
void VehicleVideo::startThread() {
  myVideoThread =
      std::make_shared<Thread>([self = shared_from_this()] { self->myMethod_VideoSource(); });
  myVideoThread->start();
}

VehicleVideo::~VehicleVideo() {
  if (myVideoThread != nullptr) {
    myVideoThread->cancel();
    myVideoThread.reset();
  }
  FrameData.reset();
}

// "ACCOUNT-DDDDDDDD": the last 8 digits of the Unix time. Throws when the time is shorter.
Text VehicleVideo::makeTimestamp() const {
  const Text seconds(std::to_string(static_cast<long>(timeIntervalSince1970())));
  const Text digits = seconds.substringFromIndex(seconds.length() - 8);
  return Text(Acc.description() + "-" + digits.description());
}

void VehicleVideo::myMethod_VideoSource() {
  if (deviceType != kFleetDeviceType) return;
  try {
    timestamp = makeTimestamp();
    ThreadVideoSourceForFleet(Host.c_str(), Media_port, Cmd_port, Channel, Acc.c_str(), Pwd.c_str(),
                              &isCancel, timestamp.c_str(), CarId.c_str(), &canGetFrame,
                              reinterpret_cast<std::uint8_t*>(FrameData.get()),
                              reinterpret_cast<std::int32_t*>(&FrameLen));
  } catch (const Exception& exception) {
    logMessage("%s", exception.what());
  }
}

void VehicleVideo::cancelVideoThread() {
  if (myVideoThread == nullptr || !myVideoThread->isExecuting()) return;
  CancelVideoSource(&isCancel);
  myVideoThread->cancel();
  myVideoThread.reset();
  storeFlag(canGetFrame, 0);
}

void VehicleVideo::setIsFrameReady(std::uint8_t flag) {
  storeFlag(canGetFrame, flag & 1U);
}

bool VehicleVideo::getIsFrameReady() const {
  return (std::atomic_ref<std::uint8_t>(canGetFrame).load(std::memory_order_acquire) & 1U) != 0;
}

}  // namespace quorvid
