// BareScaler: a decoded 4:2:0 frame as Y and as pairs of U and V, as the library's pictures are.
// Libyuv, plane by plane; what has the size already is only woven.
#pragma once

#include <cstdint>
#include <vector>

extern "C" {
#include <libavutil/frame.h>
}

namespace quorvid::bench {

constexpr int kPictureWidth = 1280, kPictureHeight = 960;

struct Nv12View {
  const std::uint8_t* luma;
  int lumaStride;
  const std::uint8_t* chroma;
  int chromaStride;
  int width, height;
};

// Of the picture that a live view draws: the frame's own, unless that is larger than the one size.
struct BareSize {
  int width = kPictureWidth, height = kPictureHeight;
  static BareSize of(const AVFrame& frame);
};

class BareScaler {
 public:
  // Views the scaler's memory, and the frame's own luma where that has the size.
  Nv12View take(const AVFrame& frame, BareSize size);
  // The same, with the luma copied into the scaler's memory at any size.
  Nv12View copy(const AVFrame& frame, BareSize size);

 private:
  void scaleLuma(const AVFrame& frame, BareSize size);
  const std::uint8_t* weave(const AVFrame& frame, BareSize size);

  std::vector<std::uint8_t> luma_, u_, v_, chroma_;
};

}  // namespace quorvid::bench
