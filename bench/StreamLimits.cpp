#include "bench/StreamLimits.h"

#include <libyuv.h>

#include <atomic>
#include <chrono>
#include <ctime>
#include <memory>
#include <stdexcept>
#include <thread>

#include "quorvid/connection/VehicleConnection.h"

extern "C" {
#include <libavcodec/avcodec.h>
}

namespace quorvid::bench {
namespace {

constexpr int kWidth = 1280, kHeight = 960;  // of the library's pictures
constexpr int kCommandPort = 80;

double processorSeconds() {
  timespec time{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

std::vector<std::uint8_t> plane(int width, int height) {
  return std::vector<std::uint8_t>(static_cast<std::size_t>(width) * height);
}

// A picture of the library's size and layout, and U and V apart on their way there.
class Scaled {
 public:
  void take(const AVFrame& frame) {
    const int width = (frame.width + 1) / 2, height = (frame.height + 1) / 2;
    scale(frame, 0, frame.width, frame.height, luma_, kWidth, kHeight);
    scale(frame, 1, width, height, u_, kWidth / 2, kHeight / 2);
    scale(frame, 2, width, height, v_, kWidth / 2, kHeight / 2);
    libyuv::MergeUVPlane(u_.data(), kWidth / 2, v_.data(), kWidth / 2, chroma_.data(), kWidth,
                         kWidth / 2, kHeight / 2);
  }

 private:
  static void scale(const AVFrame& frame, int index, int width, int height,
                    std::vector<std::uint8_t>& to, int toWidth, int toHeight) {
    libyuv::ScalePlane(frame.data[index], frame.linesize[index], width, height, to.data(), toWidth,
                       toWidth, toHeight, libyuv::kFilterBilinear);
  }

  std::vector<std::uint8_t> luma_ = plane(kWidth, kHeight), u_ = plane(kWidth / 2, kHeight / 2),
                            v_ = plane(kWidth / 2, kHeight / 2),
                            chroma_ = plane(kWidth, kHeight / 2);
};

class BareDecoder {
 public:
  BareDecoder() {
    context_->thread_count = 1;
    context_->flags |= AV_CODEC_FLAG_LOW_DELAY;
    if (avcodec_open2(context_.get(), avcodec_find_decoder(AV_CODEC_ID_H264), nullptr) != 0) {
      throw std::runtime_error("libavcodec has no H.264 decoder");
    }
  }
  // Null when it gave no picture.
  const AVFrame* decode(const std::vector<std::uint8_t>& bytes) {
    padded_.assign(bytes.begin(), bytes.end());
    padded_.resize(bytes.size() + AV_INPUT_BUFFER_PADDING_SIZE);
    packet_->data = padded_.data();
    packet_->size = static_cast<int>(bytes.size());
    if (avcodec_send_packet(context_.get(), packet_.get()) != 0) return nullptr;
    return avcodec_receive_frame(context_.get(), frame_.get()) == 0 ? frame_.get() : nullptr;
  }

 private:
  struct Free {
    void operator()(AVCodecContext* context) const { avcodec_free_context(&context); }
    void operator()(AVPacket* packet) const { av_packet_free(&packet); }
    void operator()(AVFrame* frame) const { av_frame_free(&frame); }
  };
  std::unique_ptr<AVCodecContext, Free> context_{
      avcodec_alloc_context3(avcodec_find_decoder(AV_CODEC_ID_H264))};
  std::unique_ptr<AVPacket, Free> packet_{av_packet_alloc()};
  std::unique_ptr<AVFrame, Free> frame_{av_frame_alloc()};
  std::vector<std::uint8_t> padded_;
};

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
  Scaled scaled;
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
      scaled.take(*frame);
      scaling += processorSeconds() - decoded;
      ++pictures;
    }
  }
  if (pictures == 0) throw std::runtime_error("no picture could be decoded");
  const auto perPicture = [&](double seconds) {
    return 1e3 * seconds / static_cast<double>(pictures);
  };
  return {
      {"pictures", pictures}, {"decodeMs", perPicture(decoding)}, {"scaleMs", perPicture(scaling)}};
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
