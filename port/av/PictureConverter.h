// PictureConverter: from a decoded frame of any size and format to a "420v" picture of one size.
//
// Each plane is scaled bilinearly, Y straight into the picture, U and V beside it and then woven
// into pairs: scaled as pairs they would lose up to two steps of 255. Pixel formats other than
// 8-bit 4:2:0 are brought to it first. Full-range samples become video range. Every picture says
// which matrix its colours need: the stream's own, or ITU-R 601 for frames of at most 576 lines and
// ITU-R 709 above. Any thread; conversions wait for each other.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <vector>

#include "port/av/AvFrames.h"
#include "quorvid/base/PixelBuffer.h"

namespace quorvid {

// Pixel buffers that are used again once everybody else let them go: a fresh buffer of this size
// costs more page faults than the whole conversion. The pool holds one reference to each buffer: a
// buffer with no other reference is free, and goes when it is for long. One thread takes; any
// thread may release what was taken. Buffers that are still held outlive the pool.
class PicturePool {
 public:
  PicturePool() = default;
  ~PicturePool();
  PicturePool(const PicturePool&) = delete;
  PicturePool& operator=(const PicturePool&) = delete;

  // A "420v" buffer with one reference for the caller; its bytes are those of an earlier picture.
  // Null when memory is short.
  CVPixelBufferRef take(std::size_t width, std::size_t height);

 private:
  std::vector<CVPixelBufferRef> buffers_;
  int timesFree_ = 0;  // that one was which nobody took
};

// Of 0 by 0: each frame's own.
struct PictureSize {
  std::size_t width = 0, height = 0;
  bool asDecoded = false;  // the frame's own planes, "y420" or "f420"
};

class PictureConverter {
 public:
  explicit PictureConverter(const PictureSize& size) : size_(size) {}

  // A picture with one reference for the caller; null when the frame's format can't be converted or
  // memory is short. The frame's aspect ratio is not kept: it fills the whole picture.
  CVPixelBufferRef convert(const AVFrame& frame);

 private:
  CVPixelBufferRef wrap(const AVFrame& frame);
  bool fill(const AVFrame& frame, CVPixelBufferRef picture);
  bool toPlanar(const AVFrame& frame);
  bool prepareConversion(const AVFrame& frame);
  void scaleChroma(const AVFrame& frame, CVPixelBufferRef picture);
  const Text& matrixNameOf(const AVFrame& frame);

  PictureSize size_;
  std::mutex mutex_;  // guards what follows
  PicturePool pool_;
  // U and V apart: as the frame has them in pairs, and at the picture's size.
  std::array<std::vector<std::uint8_t>, 2> split_, scaled_;
  Text matrix_;
  SwsContextPtr scaler_;
  AvFramePtr planar_;
};

}  // namespace quorvid
