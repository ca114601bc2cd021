#pragma once

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libswscale/swscale.h>
}

#include <memory>
#include <string>

namespace quorvid::sim {

struct AvDeleter {
  void operator()(AVFrame* p) const { av_frame_free(&p); }
  void operator()(AVPacket* p) const { av_packet_free(&p); }
  void operator()(AVCodecContext* p) const { avcodec_free_context(&p); }
  void operator()(AVFormatContext* p) const { avformat_close_input(&p); }
  void operator()(SwsContext* p) const { sws_freeContext(p); }
};
using FramePtr = std::unique_ptr<AVFrame, AvDeleter>;
using PacketPtr = std::unique_ptr<AVPacket, AvDeleter>;
using CodecPtr = std::unique_ptr<AVCodecContext, AvDeleter>;
using FormatPtr = std::unique_ptr<AVFormatContext, AvDeleter>;
using ScalerPtr = std::unique_ptr<SwsContext, AvDeleter>;

FramePtr newFrame();
PacketPtr newPacket();

// A planar 4:2:0 picture with memory of its own.
FramePtr newPicture(int width, int height);

// What the media libraries say about an error code.
std::string errorText(int code);

// The Y'CbCr matrix of streams that state none: ITU-R 601 up to 576 lines, ITU-R 709 above.
AVColorSpace matrixForLines(int lines);

// Sets the matrices and ranges of a scaler whose result is a stream picture: video range, and the
// matrix for its number of lines. `matrix` and `fullRange` describe the source.
void setColours(SwsContext* scaler, AVColorSpace matrix, bool fullRange, int targetLines);

}  // namespace quorvid::sim
