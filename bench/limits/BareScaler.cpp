#include "bench/limits/BareScaler.h"

#include <libyuv.h>

namespace quorvid::bench {
namespace {

bool hasSize(const AVFrame& frame, BareSize size) {
  return frame.width == size.width && frame.height == size.height;
}

std::uint8_t* room(std::vector<std::uint8_t>& samples, int width, int height) {
  samples.resize(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
  return samples.data();
}

}  // namespace

BareSize BareSize::of(const AVFrame& frame) {
  const bool fits = frame.width <= kPictureWidth && frame.height <= kPictureHeight;
  return fits ? BareSize{frame.width, frame.height} : BareSize{};
}

Nv12View BareScaler::take(const AVFrame& frame, BareSize size) {
  if (!hasSize(frame, size)) return copy(frame, size);
  return {frame.data[0], frame.linesize[0], weave(frame, size),
          size.width,    size.width,        size.height};
}

Nv12View BareScaler::copy(const AVFrame& frame, BareSize size) {
  scaleLuma(frame, size);
  return {luma_.data(), size.width, weave(frame, size), size.width, size.width, size.height};
}

void BareScaler::scaleLuma(const AVFrame& frame, BareSize size) {
  libyuv::ScalePlane(frame.data[0], frame.linesize[0], frame.width, frame.height,
                     room(luma_, size.width, size.height), size.width, size.width, size.height,
                     libyuv::kFilterBilinear);
}

const std::uint8_t* BareScaler::weave(const AVFrame& frame, BareSize size) {
  const int halfWidth = size.width / 2, halfHeight = size.height / 2;
  const std::uint8_t* planes[2] = {frame.data[1], frame.data[2]};
  int strides[2] = {frame.linesize[1], frame.linesize[2]};
  if (!hasSize(frame, size)) {
    for (int i = 0; i < 2; ++i) {
      std::uint8_t* const scaled = room(i == 0 ? u_ : v_, halfWidth, halfHeight);
      libyuv::ScalePlane(planes[i], strides[i], (frame.width + 1) / 2, (frame.height + 1) / 2,
                         scaled, halfWidth, halfWidth, halfHeight, libyuv::kFilterBilinear);
      planes[i] = scaled;
      strides[i] = halfWidth;
    }
  }
  libyuv::MergeUVPlane(planes[0], strides[0], planes[1], strides[1],
                       room(chroma_, size.width, halfHeight), size.width, halfWidth, halfHeight);
  return chroma_.data();
}

}  // namespace quorvid::bench
