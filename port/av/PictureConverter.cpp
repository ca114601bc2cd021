#include "port/av/PictureConverter.h"

#include <libyuv.h>

#include <utility>

#include "port/av/SampleRange.h"

extern "C" {
#include <libavutil/pixdesc.h>
}

namespace quorvid {
namespace {

constexpr int kTallestStandardDefinition = 576;

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

const char* matrixOf(const AVFrame& frame) {
  switch (frame.colorspace) {
    case AVCOL_SPC_BT709:
      return kCVImageBufferYCbCrMatrix_ITU_R_709_2;
    case AVCOL_SPC_FCC:
    case AVCOL_SPC_BT470BG:
    case AVCOL_SPC_SMPTE170M:
      return kCVImageBufferYCbCrMatrix_ITU_R_601_4;
    case AVCOL_SPC_SMPTE240M:
      return kCVImageBufferYCbCrMatrix_SMPTE_240M_1995;
    case AVCOL_SPC_BT2020_NCL:
    case AVCOL_SPC_BT2020_CL:
      return kCVImageBufferYCbCrMatrix_ITU_R_2020;
    default:
      return frame.height <= kTallestStandardDefinition ? kCVImageBufferYCbCrMatrix_ITU_R_601_4
                                                        : kCVImageBufferYCbCrMatrix_ITU_R_709_2;
  }
}

bool isFullRange(const AVFrame& frame) {
  return frame.color_range == AVCOL_RANGE_JPEG || frame.format == AV_PIX_FMT_YUVJ420P;
}

bool isScaledDirectly(int format) {
  return format == AV_PIX_FMT_YUV420P || format == AV_PIX_FMT_YUVJ420P || format == AV_PIX_FMT_NV12;
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

// The formats with a J in their name are the same samples with the range in the name.
AVPixelFormat withoutRange(int format) {
  switch (format) {
    case AV_PIX_FMT_YUVJ422P:
      return AV_PIX_FMT_YUV422P;
    case AV_PIX_FMT_YUVJ444P:
      return AV_PIX_FMT_YUV444P;
    default:
      return static_cast<AVPixelFormat>(format);
  }
}

bool isYCbCr(AVPixelFormat format) {
  const AVPixFmtDescriptor* const description = av_pix_fmt_desc_get(format);
  return description != nullptr && description->nb_components == 3 &&
         (description->flags & AV_PIX_FMT_FLAG_RGB) == 0;
}

AvFramePtr planarFrame(int width, int height) {
  AvFramePtr frame(av_frame_alloc());
  if (frame) {
    frame->format = AV_PIX_FMT_YUV420P;
    frame->width = width;
    frame->height = height;
  }
  return frame && av_frame_get_buffer(frame.get(), 0) == 0 ? std::move(frame) : nullptr;
}

}  // namespace

CVPixelBufferRef PictureConverter::convert(const AVFrame& frame) {
  if (frame.width < 2 || frame.height < 2) return nullptr;
  CVPixelBufferRef picture = pool_.take();
  if (picture == nullptr) return nullptr;
  if (!fill(frame, picture)) {
    CVPixelBufferRelease(picture);
    return nullptr;
  }
  CVBufferSetAttachment(picture, kCVImageBufferYCbCrMatrixKey, matrixOf(frame));
  return picture;
}

bool PictureConverter::fill(const AVFrame& frame, CVPixelBufferRef picture) {
  const bool direct = isScaledDirectly(frame.format);
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
  const AVPixelFormat format = withoutRange(frame.format);
  if (!isYCbCr(format) || sws_isSupportedInput(format) == 0) return false;
  if (!planar_ || planar_->width != frame.width || planar_->height != frame.height) {
    planar_ = planarFrame(frame.width, frame.height);
  }
  scaler_.reset(sws_getCachedContext(scaler_.release(), frame.width, frame.height, format,
                                     frame.width, frame.height, AV_PIX_FMT_YUV420P, SWS_BILINEAR,
                                     nullptr, nullptr, nullptr));
  return planar_ && scaler_;
}

}  // namespace quorvid
