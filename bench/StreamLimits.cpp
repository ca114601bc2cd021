#include "bench/StreamLimits.h"

#include <atomic>
#include <chrono>
#include <ctime>
#include <stdexcept>
#include <thread>

#include "bench/limits/BareDecoder.h"
#include "bench/limits/BareScaler.h"
#include "quorvid/connection/VehicleConnection.h"

namespace quorvid::bench {
namespace {

constexpr int kCommandPort = 80;

double processorSeconds() {
  timespec time{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

}  // namespace

Frames captureFrames(const std::string& host, int port, const std::string& device, int channel,
                     std::size_t count, double seconds) {
  std::uint8_t cancel = 0, waits = 0;
  std::int32_t length = 0;
  std::vector<std::uint8_t> slot(QUORVID_FRAME_CAPACITY);
  std::thread worker([&] {
    ThreadVideoSourceForFleet(host.c_str(), port, kCommandPort, channel, "", "", &cancel, "",
                              device.c_str(), &waits, slot.data(), &length);
  });
  Frames frames;
  const auto end = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
  while (frames.size() < count && std::chrono::steady_clock::now() < end) {
    if (std::atomic_ref(waits).load(std::memory_order_acquire) == 0) {
      std::this_thread::sleep_for(std::chrono::milliseconds(2));
      continue;
    }
    frames.emplace_back(slot.begin(), slot.begin() + length);
    std::atomic_ref(waits).store(0, std::memory_order_release);
  }
  CancelVideoSource(&cancel);
  worker.join();
  return frames;
}

nlohmann::json measureLimits(const std::vector<Frames>& streams) {
  std::vector<BareDecoder> decoders(streams.size());
  BareScaler scaler;
  BareSize size;
  double decoding = 0, scaling = 0;
  std::size_t pictures = 0, most = 0;
  for (const Frames& frames : streams) most = std::max(most, frames.size());
  for (std::size_t i = 0; i < most; ++i) {
    for (std::size_t k = 0; k < streams.size(); ++k) {
      if (i >= streams[k].size()) continue;
      const double begin = processorSeconds();
      const AVFrame* const frame = decoders[k].decode(streams[k][i]);
      const double decoded = processorSeconds();
      decoding += decoded - begin;
      if (frame == nullptr) continue;
      const Nv12View picture = scaler.copy(*frame, BareSize::of(*frame));
      size = {picture.width, picture.height};
      scaling += processorSeconds() - decoded;
      ++pictures;
    }
  }
  if (pictures == 0) throw std::runtime_error("no picture could be decoded");
  const auto perPicture = [&](double seconds) {
    return 1e3 * seconds / static_cast<double>(pictures);
  };
  return {{"pictures", pictures},
          {"width", size.width},
          {"height", size.height},
          {"decodeMs", perPicture(decoding)},
          {"scaleMs", perPicture(scaling)}};
}

nlohmann::json measurePaced(const Frames& frames, double pause) {
  BareDecoder decoder;
  double decoding = 0;
  std::size_t pictures = 0;
  auto due = std::chrono::steady_clock::now();
  for (const std::vector<std::uint8_t>& frame : frames) {
    due += std::chrono::microseconds(static_cast<std::int64_t>(pause * 1e6));
    std::this_thread::sleep_until(due);
    const double begin = processorSeconds();
    if (decoder.decode(frame) != nullptr) ++pictures;
    decoding += processorSeconds() - begin;
  }
  if (pictures == 0) throw std::runtime_error("no picture could be decoded");
  return {{"pictures", pictures}, {"decodeMs", 1e3 * decoding / static_cast<double>(pictures)}};
}

}  // namespace quorvid::bench
