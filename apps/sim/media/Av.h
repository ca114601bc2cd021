#pragma once

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavfilter/avfilter.h>
#include <libavformat/avformat.h>
#include <libswscale/swscale.h>
}

#include <array>
#include <memory>
#include <new>
#include <string>

namespace quorvid::sim {

struct AvDeleter {
  void operator()(AVFrame* p) const { av_frame_free(&p); }
  void operator()(AVPacket* p) const { av_packet_free(&p); }
  void operator()(AVCodecContext* p) const { avcodec_free_context(&p); }
  void operator()(AVFormatContext* p) const { avformat_close_input(&p); }
  void operator()(AVFilterGraph* p) const { avfilter_graph_free(&p); }
  void operator()(SwsContext* p) const { sws_freeContext(p); }
};
using FramePtr = std::unique_ptr<AVFrame, AvDeleter>;
using PacketPtr = std::unique_ptr<AVPacket, AvDeleter>;
using CodecPtr = std::unique_ptr<AVCodecContext, AvDeleter>;
using FormatPtr = std::unique_ptr<AVFormatContext, AvDeleter>;
using GraphPtr = std::unique_ptr<AVFilterGraph, AvDeleter>;
using ScalerPtr = std::unique_ptr<SwsContext, AvDeleter>;

// What the media libraries allocated, or std::bad_alloc.
template <typename T>
std::unique_ptr<T, AvDeleter> owned(T* made) {
  if (made == nullptr) throw std::bad_alloc();
  return std::unique_ptr<T, AvDeleter>(made);
}

// A planar 4:2:0 picture with memory of its own.
inline FramePtr newPicture(int width, int height) {
  FramePtr frame = owned(av_frame_alloc());
  frame->format = AV_PIX_FMT_YUV420P;
  frame->width = width;
  frame->height = height;
  if (av_frame_get_buffer(frame.get(), 0) < 0) throw std::bad_alloc();
  return frame;
}

// What the media libraries say about an error code.
inline std::string errorText(int code) {
  std::array<char, AV_ERROR_MAX_STRING_SIZE> text{};
  av_strerror(code, text.data(), text.size());
  return text.data();
}

// The Y'CbCr matrix of streams that state none: ITU-R 601 up to 576 lines, ITU-R 709 above.
inline AVColorSpace matrixForLines(int lines) {
  return lines <= 576 ? AVCOL_SPC_SMPTE170M : AVCOL_SPC_BT709;
}

}  // namespace quorvid::sim
