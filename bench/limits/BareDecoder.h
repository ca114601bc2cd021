// BareDecoder: libavcodec's H.264 decoder by itself, on the calling thread, with the flags that the
// library gives it (port/av/LibavDecoder.cpp).
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

extern "C" {
#include <libavcodec/avcodec.h>
}

namespace quorvid::bench {

class BareDecoder {
 public:
  // @throws std::runtime_error
  BareDecoder();
  // Annex B with kPadding zeros behind it. Null when it gave no picture; the decoder's, until the
  // next call.
  const AVFrame* decode(std::uint8_t* bytes, std::size_t size);
  // The same of bytes without zeros behind them: they are copied.
  const AVFrame* decode(const std::vector<std::uint8_t>& bytes);

  static constexpr std::size_t kPadding = AV_INPUT_BUFFER_PADDING_SIZE;

 private:
  struct Free {
    void operator()(AVCodecContext* context) const { avcodec_free_context(&context); }
    void operator()(AVPacket* packet) const { av_packet_free(&packet); }
    void operator()(AVFrame* frame) const { av_frame_free(&frame); }
  };
  std::unique_ptr<AVCodecContext, Free> context_;
  std::unique_ptr<AVPacket, Free> packet_{av_packet_alloc()};
  std::unique_ptr<AVFrame, Free> frame_{av_frame_alloc()};
  std::vector<std::uint8_t> padded_;
};

}  // namespace quorvid::bench
