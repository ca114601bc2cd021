#include "apps/common/Stream.h"

#include <fmt/format.h>

#include <atomic>
#include <condition_variable>
#include <ctime>
#include <deque>
#include <mutex>
#include <new>

#include "apps/common/Deadline.h"
#include "apps/common/Process.h"
#include "connection/StreamObserver.h"
#include "quorvid/connection/VehicleConnection.h"

namespace quorvid::app {

namespace {

constexpr int kCommandPort = 80;  // the workers keep it without using it
constexpr std::int64_t kLongestSide = 16384;
constexpr std::size_t kMostWaiting = 32 << 20;  // bytes of memory

// A server may send frames of one byte: the place of one takes far more memory than that.
std::size_t costOf(const StreamItem& item) {
  constexpr std::size_t kBlocks = 64;  // what two blocks of the heap have beside their bytes
  return sizeof item + kBlocks + item.frame.size() + item.trouble.size();
}

}  // namespace

std::string sessionToken(const std::string& account) {
  const std::string seconds = std::to_string(std::time(nullptr));
  return account + "-" + (seconds.size() > 8 ? seconds.substr(seconds.size() - 8) : seconds);
}

class StreamReceiver::Worker : public StreamObserver {
 public:
  explicit Worker(const StreamTarget& target)
      : target_(target), token_(sessionToken(target.account)), peer_(target.server.text()) {}

  // The worker's thread. A relay lookup, which can't be cancelled, is not begun in vain.
  void run() {
    if (std::atomic_ref(cancel_).load(std::memory_order_acquire) != 0) return;
    const auto worker = target_.path == StreamPath::Car     ? runCarVideo
                        : target_.path == StreamPath::Relay ? runRelayVideo
                                                            : runFleetVideo;
    const VideoCall call{target_.server.host.c_str(),
                         target_.server.port,
                         kCommandPort,
                         target_.channel,
                         target_.account.c_str(),
                         target_.password.c_str(),
                         &cancel_,
                         token_.c_str(),
                         target_.device.c_str(),
                         nullptr,
                         nullptr,
                         nullptr};
    if (worker(call, this) != 0 && !isTroubled_) push({{}, 0, "there is no memory for the stream"});
  }

  void cancel() {
    CancelVideoSource(&cancel_);
    const std::lock_guard lock(mutex_);
    isOver_ = true;
    changed_.notify_all();
  }

  std::optional<StreamItem> next(double seconds) {
    std::unique_lock lock(mutex_);
    const std::chrono::duration<double> patience(seconds);
    if (!changed_.wait_for(lock, patience, [this] { return !items_.empty(); })) return std::nullopt;
    StreamItem item = std::move(items_.front());
    items_.pop_front();
    waiting_ -= costOf(item);
    changed_.notify_all();
    return item;
  }

  bool isConnected() const { return isConnected_; }

 private:
  void told(StreamEvent event, std::int32_t detail) override {
    if (event == StreamEvent::RelayFound) peer_ = "the relay that " + peer_ + " named";
    if (event == StreamEvent::Connected) isConnected_ = true;
    std::string trouble = sentenceOf(event, detail, peer_, target_.server.host, target_.device);
    if (trouble.empty()) return;
    if (event == StreamEvent::Refused) {
      trouble += fmt::format(" (device {}, channel {}: unknown or off line?)", target_.device,
                             target_.channel);
    }
    isConnected_ = false;
    isTroubled_ = true;
    push({{}, steadySeconds(), std::move(trouble)});
  }

  void frameArrived(const std::uint8_t* bytes, std::size_t size) override {
    try {
      push({{bytes, bytes + size}, steadySeconds(), {}});
    } catch (const std::bad_alloc&) {
      push({{}, steadySeconds(), "there is no memory for a frame"});
    }
  }

  void push(StreamItem item) {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return waiting_ < kMostWaiting || isOver_; });
    if (isOver_) return;
    waiting_ += costOf(item);
    items_.push_back(std::move(item));
    changed_.notify_all();
  }

  const StreamTarget target_;
  const std::string token_;
  std::string peer_;         // the worker's thread
  bool isTroubled_ = false;  // the worker's thread
  std::uint8_t cancel_ = 0;
  std::atomic<bool> isConnected_ = false;

  std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<StreamItem> items_;
  std::size_t waiting_ = 0;  // what they cost
  bool isOver_ = false;
};

StreamReceiver::StreamReceiver(const StreamTarget& target)
    : worker_(std::make_shared<Worker>(target)) {
  startWorkerThread([worker = worker_] { worker->run(); });
}

StreamReceiver::~StreamReceiver() {
  worker_->cancel();
}

std::optional<StreamItem> StreamReceiver::next(double seconds) {
  return worker_->next(seconds);
}

bool StreamReceiver::isConnected() const {
  return worker_->isConnected();
}

std::optional<PixelSize> sizeOfSps(h264::ByteView sps) {
  const auto fields = h264::peekSps(sps);
  const std::int64_t width = fields ? fields->displayedWidth() : 0;
  const std::int64_t height = fields ? fields->displayedHeight() : 0;
  if (width < 1 || height < 1 || width > kLongestSide || height > kLongestSide) return std::nullopt;
  return PixelSize{static_cast<int>(width), static_cast<int>(height)};
}

}  // namespace quorvid::app
