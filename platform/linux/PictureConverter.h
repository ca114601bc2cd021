// PictureConverter: from a decoded frame of any size and format to a "420v" picture of one size.
//
// Y is scaled straight into the picture; U and V are woven into pairs at their own size and scaled
// as pairs, bilinear. Pixel formats other than 8-bit 4:2:0 are brought to it first. Full-range
// samples become video range. Every picture says which matrix its colours need: the stream's own,
// or ITU-R 601 for frames of at most 576 lines and ITU-R 709 above. One thread.
#ifndef QUORVID_PLATFORM_LINUX_PICTURE_CONVERTER_H
#define QUORVID_PLATFORM_LINUX_PICTURE_CONVERTER_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "platform/linux/AvHandles.h"
#include "platform/linux/PicturePool.h"

namespace quorvid {

class PictureConverter {
 public:
  PictureConverter(std::size_t width, std::size_t height) : pool_(width, height) {}

  // A picture with one reference for the caller; null when the frame's format can't be converted or
  // memory is short. The frame's aspect ratio is not kept: it fills the whole picture.
  CVPixelBufferRef convert(const AVFrame& frame);

 private:
  bool fill(const AVFrame& frame, CVPixelBufferRef picture);
  bool toPlanar(const AVFrame& frame);
  bool prepareConversion(const AVFrame& frame);
  bool scaleChroma(const AVFrame& frame, CVPixelBufferRef picture);

  PicturePool pool_;
  std::vector<std::uint8_t> pairs_;  // chroma woven at the frame's own size
  SwsContextPtr scaler_;
  AvFramePtr planar_;
};

}  // namespace quorvid

#endif
