#include "sim/media/Av.h"

#include <array>
#include <new>

#include "sim/Error.h"

namespace quorvid::sim {

FramePtr newFrame() {
  FramePtr frame(av_frame_alloc());
  if (!frame) throw std::bad_alloc();
  return frame;
}

PacketPtr newPacket() {
  PacketPtr packet(av_packet_alloc());
  if (!packet) throw std::bad_alloc();
  return packet;
}

FramePtr newPicture(int width, int height) {
  FramePtr frame = newFrame();
  frame->format = AV_PIX_FMT_YUV420P;
  frame->width = width;
  frame->height = height;
  if (av_frame_get_buffer(frame.get(), 0) < 0) throw std::bad_alloc();
  return frame;
}

std::string errorText(int code) {
  std::array<char, AV_ERROR_MAX_STRING_SIZE> text{};
  av_strerror(code, text.data(), text.size());
  return text.data();
}

AVColorSpace matrixForLines(int lines) {
  return lines <= 576 ? AVCOL_SPC_SMPTE170M : AVCOL_SPC_BT709;
}

void setColours(SwsContext* scaler, AVColorSpace matrix, bool fullRange, int targetLines) {
  constexpr int one = 1 << 16;
  const int* target = sws_getCoefficients(matrixForLines(targetLines));
  if (sws_setColorspaceDetails(scaler, sws_getCoefficients(matrix), fullRange ? 1 : 0, target, 0, 0,
                               one, one) < 0) {
    throw SimError("the colours of the source can't be converted");
  }
}

}  // namespace quorvid::sim
