#include "apps/common/Stream.h"

#include <array>
#include <atomic>
#include <ctime>

#include "apps/common/Process.h"
#include "quorvid/connection/VehicleConnection.h"

namespace quorvid::app {

namespace {

constexpr int kCommandPort = 80;  // the workers keep it without using it
constexpr std::int64_t kLongestSide = 16384;

}  // namespace

std::string sessionToken(const std::string& account) {
  const std::string seconds = std::to_string(std::time(nullptr));
  return account + "-" + (seconds.size() > 8 ? seconds.substr(seconds.size() - 8) : seconds);
}

struct StreamReceiver::Slot {
  StreamTarget target;
  std::string token;
  std::array<std::uint8_t, QUORVID_FRAME_CAPACITY> frame;
  std::int32_t length = 0;
  std::uint8_t ready = 0;
  std::uint8_t cancel = 0;
  std::atomic<bool> failed = false;

  // The worker's thread. A relay lookup, which can't be cancelled, is not begun in vain.
  void run() {
    if (std::atomic_ref(cancel).load(std::memory_order_acquire) != 0) return;
    const auto worker = target.path == StreamPath::Car     ? ThreadVideoSourceForCar
                        : target.path == StreamPath::Relay ? ThreadGetRelayForCar
                                                           : ThreadVideoSourceForFleet;
    const std::int32_t result =
        worker(target.server.host.c_str(), target.server.port, kCommandPort, target.channel,
               target.account.c_str(), target.password.c_str(), &cancel, token.c_str(),
               target.device.c_str(), &ready, frame.data(), &length);
    failed = result != 0;
  }
};

StreamReceiver::StreamReceiver(const StreamTarget& target) : slot_(std::make_shared<Slot>()) {
  slot_->target = target;
  slot_->token = sessionToken(target.account);
  startWorkerThread([slot = slot_] { slot->run(); });
}

StreamReceiver::~StreamReceiver() {
  CancelVideoSource(&slot_->cancel);
}

std::optional<StreamReceiver::Frame> StreamReceiver::frame() {
  if ((std::atomic_ref(slot_->ready).load(std::memory_order_acquire) & 1) == 0) return std::nullopt;
  return Frame{slot_->frame.data(), static_cast<std::size_t>(slot_->length)};
}

void StreamReceiver::release() {
  std::atomic_ref(slot_->ready).store(0, std::memory_order_release);
}

bool StreamReceiver::hasFailed() const {
  return slot_->failed;
}

std::optional<PixelSize> sizeOfSps(h264::ByteView sps) {
  const auto fields = h264::peekSps(sps);
  const std::int64_t width = fields ? fields->displayedWidth() : 0;
  const std::int64_t height = fields ? fields->displayedHeight() : 0;
  if (width < 1 || height < 1 || width > kLongestSide || height > kLongestSide) return std::nullopt;
  return PixelSize{static_cast<int>(width), static_cast<int>(height)};
}

}  // namespace quorvid::app
