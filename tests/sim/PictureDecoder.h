#pragma once

#include <algorithm>
#include <stdexcept>

#include "sim/media/Av.h"
#include "sim/wire/Bytes.h"

namespace quorvid::sim {

// Decodes a stream of frames, one picture each.
class PictureDecoder {
 public:
  PictureDecoder() : codec_(avcodec_alloc_context3(avcodec_find_decoder(AV_CODEC_ID_H264))) {
    codec_->flags |= AV_CODEC_FLAG_LOW_DELAY;
    codec_->thread_count = 1;
    if (avcodec_open2(codec_.get(), nullptr, nullptr) < 0) throw std::runtime_error("no decoder");
  }

  // @return the three planes without padding; empty when no picture came out
  Bytes decode(ByteView frame) {
    av_new_packet(packet_.get(), static_cast<int>(frame.size()));
    std::copy(frame.begin(), frame.end(), packet_->data);
    avcodec_send_packet(codec_.get(), packet_.get());
    av_packet_unref(packet_.get());
    Bytes planes;
    if (avcodec_receive_frame(codec_.get(), picture_.get()) < 0) return planes;
    for (int plane = 0; plane < 3; ++plane) {
      const int shift = plane == 0 ? 0 : 1;
      for (int y = 0; y < picture_->height >> shift; ++y) {
        const std::uint8_t* row = picture_->data[plane] + y * picture_->linesize[plane];
        planes.insert(planes.end(), row, row + (picture_->width >> shift));
      }
    }
    return planes;
  }

  const AVFrame& picture() const { return *picture_; }

 private:
  CodecPtr codec_;
  PacketPtr packet_ = owned(av_packet_alloc());
  FramePtr picture_ = owned(av_frame_alloc());
};

}  // namespace quorvid::sim
