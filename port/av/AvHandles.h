// Owners of FFmpeg's objects.
#pragma once

#include <memory>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/buffer.h>
#include <libavutil/frame.h>
#include <libswscale/swscale.h>
}

namespace quorvid {

struct AvDeleter {
  void operator()(AVCodecContext* context) const { avcodec_free_context(&context); }
  void operator()(AVFrame* frame) const { av_frame_free(&frame); }
  void operator()(AVPacket* packet) const { av_packet_free(&packet); }
  void operator()(AVBufferRef* reference) const { av_buffer_unref(&reference); }
  void operator()(SwsContext* context) const { sws_freeContext(context); }
};

using AvCodecContextPtr = std::unique_ptr<AVCodecContext, AvDeleter>;
using AvFramePtr = std::unique_ptr<AVFrame, AvDeleter>;
using AvPacketPtr = std::unique_ptr<AVPacket, AvDeleter>;
using AvBufferPtr = std::unique_ptr<AVBufferRef, AvDeleter>;
using SwsContextPtr = std::unique_ptr<SwsContext, AvDeleter>;

}  // namespace quorvid
