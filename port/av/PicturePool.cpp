#include "port/av/PicturePool.h"

namespace quorvid {
namespace {

// One shown, one being made, and some in a host's hands.
constexpr std::size_t kMostKept = 4;

}  // namespace

PicturePool::~PicturePool() {
  for (CVPixelBufferRef buffer : buffers_) {
    CVPixelBufferRelease(buffer);
  }
}

CVPixelBufferRef PicturePool::take() {
  for (CVPixelBufferRef buffer : buffers_) {
    if (CVPixelBufferGetRetainCount(buffer) == 1) return CVPixelBufferRetain(buffer);
  }
  CVPixelBufferRef made = nullptr;
  CVPixelBufferCreate(width_, height_, kCVPixelFormatType_420YpCbCr8BiPlanarVideoRange, 0, &made);
  if (made != nullptr && buffers_.size() < kMostKept) buffers_.push_back(CVPixelBufferRetain(made));
  return made;
}

}  // namespace quorvid
