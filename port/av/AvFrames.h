// FFmpeg's objects: their owners, and what a decoded frame's format says.
#pragma once

#include <memory>

#include "port/av/AvLibrary.h"

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

// One of the values of kCVImageBufferYCbCrMatrixKey: the stream's own, or ITU-R 601 for frames of
// at most 576 lines and ITU-R 709 above.
const char* matrixOf(const AVFrame& frame);

// Samples from 0 to 255 instead of video range.
bool isFullRange(const AVFrame& frame);

// 8-bit 4:2:0: its planes are scaled as they are.
bool isScaledDirectly(const AVFrame& frame);

// Of a frame whose samples can be brought to 8-bit 4:2:0, else AV_PIX_FMT_NONE. The formats with a
// J in their name are the same samples with the range in the name, and come out without it: the
// range is our own step, and swscale would take it twice.
AVPixelFormat convertibleFormat(const AVFrame& frame);

// A planar 8-bit 4:2:0 frame with memory; null when that is short.
AvFramePtr planarFrame(int width, int height);

// From full range to video range (Y' 16 to 235, Cb and Cr 16 to 240), in place; width in bytes.
void lumaToVideoRange(std::uint8_t* base, int stride, int width, int height);
void chromaToVideoRange(std::uint8_t* base, int stride, int width, int height);

}  // namespace quorvid
