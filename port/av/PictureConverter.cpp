#include "port/av/PictureConverter.h"

#include <libyuv.h>

#include <cstring>
#include <utility>

#include "base/PicturePtr.h"

namespace quorvid {
namespace {

// Pictures kept for use: one shown, one being made, and some in a host's hands.
constexpr std::size_t kMostKept = 4;
// One more than is needed goes when it was free so many times, one after the other.
constexpr int kTimesFree = 30;

struct PlaneView {
  std::uint8_t* base;
  int stride, width, height;
};

PlaneView planeOf(CVPixelBufferRef picture, std::size_t plane) {
  return {CVPixelBufferGetBaseAddressOfPlane(picture, plane),
          static_cast<int>(CVPixelBufferGetBytesPerRowOfPlane(picture, plane)),
          static_cast<int>(CVPixelBufferGetWidthOfPlane(picture, plane)),
          static_cast<int>(CVPixelBufferGetHeightOfPlane(picture, plane))};
}

// Room for the samples of a plane.
std::uint8_t* fit(std::vector<std::uint8_t>& samples, int width, int height) {
  samples.resize(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
  return samples.data();
}

void scale(const PlaneView& from, const PlaneView& to) {
  libyuv::ScalePlane(from.base, from.stride, from.width, from.height, to.base, to.stride, to.width,
                     to.height, libyuv::kFilterBilinear);
}

}  // namespace

PicturePool::~PicturePool() {
  for (CVPixelBufferRef buffer : buffers_) {
    CVPixelBufferRelease(buffer);
  }
}

CVPixelBufferRef PicturePool::take(std::size_t width, std::size_t height) {
  CVPixelBufferRef taken = nullptr;
  auto spare = buffers_.end();
  for (auto at = buffers_.begin(); at != buffers_.end(); ++at) {
    if (CVPixelBufferGetRetainCount(*at) > 1) continue;
    const bool fits = CVPixelBufferGetWidth(*at) == width && CVPixelBufferGetHeight(*at) == height;
    if (fits && taken == nullptr) {
      taken = CVPixelBufferRetain(*at);
    } else {
      spare = at;
    }
  }
  timesFree_ = spare != buffers_.end() ? timesFree_ + 1 : 0;
  if (timesFree_ >= kTimesFree) {
    CVPixelBufferRelease(*spare);
    buffers_.erase(spare);
    timesFree_ = 0;
  }
  if (taken != nullptr) return taken;
  buffers_.reserve(kMostKept);  // first: nothing may be thrown once there is a picture
  CVPixelBufferCreate(width, height, kCVPixelFormatType_420YpCbCr8BiPlanarVideoRange, 0, &taken);
  if (taken != nullptr && buffers_.size() < kMostKept) {
    buffers_.push_back(CVPixelBufferRetain(taken));
  }
  return taken;
}

CVPixelBufferRef PictureConverter::convert(const AVFrame& frame) {
  if (frame.width < 2 || frame.height < 2) return nullptr;
  const std::lock_guard lock(mutex_);
  if (size_.asDecoded) return wrap(frame);
  const bool isOwn = size_.width == 0;
  PicturePtr picture(pool_.take(isOwn ? static_cast<std::size_t>(frame.width) : size_.width,
                                isOwn ? static_cast<std::size_t>(frame.height) : size_.height));
  if (picture == nullptr || !fill(frame, picture.get())) return nullptr;
  CVBufferSetAttachment(picture.get(), kCVImageBufferYCbCrMatrixKey, matrixNameOf(frame));
  return picture.release();
}

// One text for all pictures of a stream.
const Text& PictureConverter::matrixNameOf(const AVFrame& frame) {
  const char* const name = matrixOf(frame);
  if (matrix_.isMissing() || std::strcmp(matrix_.c_str(), name) != 0) matrix_ = name;
  return matrix_;
}

// Holds the frame for as long as the picture lives. What isn't planar is made so, in memory of the
// picture's own.
CVPixelBufferRef PictureConverter::wrap(const AVFrame& frame) {
  const bool isPlanar = frame.format == AV_PIX_FMT_YUV420P || frame.format == AV_PIX_FMT_YUVJ420P;
  if (!isPlanar && !toPlanar(frame)) return nullptr;
  const std::shared_ptr<AVFrame> held(
      isPlanar ? av_frame_clone(&frame) : std::exchange(planar_, nullptr).release(), AvDeleter());
  if (held == nullptr) return nullptr;
  CVPixelBufferRef picture = nullptr;
  CVPixelBufferCreateWithPlanarBytes(
      static_cast<std::size_t>(held->width), static_cast<std::size_t>(held->height),
      isFullRange(frame) ? kCVPixelFormatType_420YpCbCr8PlanarFullRange
                         : kCVPixelFormatType_420YpCbCr8Planar,
      {held->data[0], held->data[1], held->data[2]},
      {static_cast<std::size_t>(held->linesize[0]), static_cast<std::size_t>(held->linesize[1]),
       static_cast<std::size_t>(held->linesize[2])},
      held, &picture);
  PicturePtr made(picture);
  if (made != nullptr) {
    CVBufferSetAttachment(made.get(), kCVImageBufferYCbCrMatrixKey, matrixNameOf(frame));
  }
  return made.release();
}

// The range is changed after scaling: the picture that is shown may be the smaller one, and it is
// ours to write to, which a frame that the decoder still refers to is not.
bool PictureConverter::fill(const AVFrame& frame, CVPixelBufferRef picture) {
  const bool direct = isScaledDirectly(frame);
  if (!direct && !toPlanar(frame)) return false;
  const AVFrame& source = direct ? frame : *planar_;
  const PlaneView luma = planeOf(picture, 0);
  scale({source.data[0], source.linesize[0], source.width, source.height}, luma);
  scaleChroma(source, picture);
  if (isFullRange(frame)) {
    const PlaneView chroma = planeOf(picture, 1);
    lumaToVideoRange(luma.base, luma.stride, luma.width, luma.height);
    chromaToVideoRange(chroma.base, chroma.stride, 2 * chroma.width, chroma.height);
  }
  return true;
}

void PictureConverter::scaleChroma(const AVFrame& frame, CVPixelBufferRef picture) {
  const PlaneView to = planeOf(picture, 1);
  const int width = (frame.width + 1) / 2;
  const int height = (frame.height + 1) / 2;
  PlaneView u{frame.data[1], frame.linesize[1], width, height};
  PlaneView v{frame.data[2], frame.linesize[2], width, height};
  if (frame.format == AV_PIX_FMT_NV12) {
    u = {fit(split_[0], width, height), width, width, height};
    v = {fit(split_[1], width, height), width, width, height};
    libyuv::SplitUVPlane(frame.data[1], frame.linesize[1], u.base, u.stride, v.base, v.stride,
                         width, height);
  }
  if (width != to.width || height != to.height) {
    for (PlaneView* plane : {&u, &v}) {
      auto& samples = scaled_[plane == &u ? 0 : 1];
      const PlaneView larger{fit(samples, to.width, to.height), to.width, to.width, to.height};
      scale(*plane, larger);
      *plane = larger;
    }
  }
  libyuv::MergeUVPlane(u.base, u.stride, v.base, v.stride, to.base, to.stride, to.width, to.height);
}

// At the frame's own size and range, so that all frames are scaled alike.
bool PictureConverter::toPlanar(const AVFrame& frame) {
  if (!prepareConversion(frame)) return false;
  return sws_scale(scaler_.get(), frame.data, frame.linesize, 0, frame.height, planar_->data,
                   planar_->linesize) == frame.height;
}

bool PictureConverter::prepareConversion(const AVFrame& frame) {
  const AVPixelFormat format = convertibleFormat(frame);
  if (format == AV_PIX_FMT_NONE) return false;
  if (!planar_ || planar_->width != frame.width || planar_->height != frame.height) {
    planar_ = planarFrame(frame.width, frame.height);
  }
  scaler_.reset(sws_getCachedContext(scaler_.release(), frame.width, frame.height, format,
                                     frame.width, frame.height, AV_PIX_FMT_YUV420P, SWS_BILINEAR,
                                     nullptr, nullptr, nullptr));
  return planar_ && scaler_;
}

}  // namespace quorvid
