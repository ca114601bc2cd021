#include "bench/limits/BareDecoder.h"

#include <stdexcept>

namespace quorvid::bench {

BareDecoder::BareDecoder() {
  const AVCodec* const codec = avcodec_find_decoder(AV_CODEC_ID_H264);
  context_.reset(avcodec_alloc_context3(codec));
  context_->thread_count = 1;
  context_->flags |= AV_CODEC_FLAG_LOW_DELAY | AV_CODEC_FLAG_OUTPUT_CORRUPT;
  context_->error_concealment = FF_EC_FAVOR_INTER;
  if (avcodec_open2(context_.get(), codec, nullptr) != 0) {
    throw std::runtime_error("libavcodec has no H.264 decoder");
  }
}

const AVFrame* BareDecoder::decode(std::uint8_t* bytes, std::size_t size) {
  packet_->data = bytes;
  packet_->size = static_cast<int>(size);
  if (avcodec_send_packet(context_.get(), packet_.get()) != 0) return nullptr;
  return avcodec_receive_frame(context_.get(), frame_.get()) == 0 ? frame_.get() : nullptr;
}

const AVFrame* BareDecoder::decode(const std::vector<std::uint8_t>& bytes) {
  padded_.assign(bytes.begin(), bytes.end());
  padded_.resize(bytes.size() + kPadding);
  return decode(padded_.data(), bytes.size());
}

}  // namespace quorvid::bench
