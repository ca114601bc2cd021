#include "bench/limits/BareScaler.h"

#include <libyuv.h>

namespace quorvid::bench {
namespace {

constexpr int kHalfWidth = kPictureWidth / 2, kHalfHeight = kPictureHeight / 2;

bool hasSize(const AVFrame& frame) {
  return frame.width == kPictureWidth && frame.height == kPictureHeight;
}

std::uint8_t* room(std::vector<std::uint8_t>& samples, int width, int height) {
  samples.resize(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
  return samples.data();
}

}  // namespace

Nv12View BareScaler::take(const AVFrame& frame) {
  if (hasSize(frame)) {
    return {frame.data[0], frame.linesize[0], weave(frame), kPictureWidth};
  }
  return copy(frame);
}

Nv12View BareScaler::copy(const AVFrame& frame) {
  scaleLuma(frame);
  return {luma_.data(), kPictureWidth, weave(frame), kPictureWidth};
}

void BareScaler::scaleLuma(const AVFrame& frame) {
  libyuv::ScalePlane(frame.data[0], frame.linesize[0], frame.width, frame.height,
                     room(luma_, kPictureWidth, kPictureHeight), kPictureWidth, kPictureWidth,
                     kPictureHeight, libyuv::kFilterBilinear);
}

const std::uint8_t* BareScaler::weave(const AVFrame& frame) {
  const std::uint8_t* planes[2] = {frame.data[1], frame.data[2]};
  int strides[2] = {frame.linesize[1], frame.linesize[2]};
  if (!hasSize(frame)) {
    for (int i = 0; i < 2; ++i) {
      std::uint8_t* const scaled = room(i == 0 ? u_ : v_, kHalfWidth, kHalfHeight);
      libyuv::ScalePlane(planes[i], strides[i], (frame.width + 1) / 2, (frame.height + 1) / 2,
                         scaled, kHalfWidth, kHalfWidth, kHalfHeight, libyuv::kFilterBilinear);
      planes[i] = scaled;
      strides[i] = kHalfWidth;
    }
  }
  libyuv::MergeUVPlane(planes[0], strides[0], planes[1], strides[1],
                       room(chroma_, kPictureWidth, kHalfHeight), kPictureWidth, kHalfWidth,
                       kHalfHeight);
  return chroma_.data();
}

}  // namespace quorvid::bench
