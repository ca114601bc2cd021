#include "platform/linux/PictureConverter.h"

#include <libyuv.h>

#include "platform/linux/SampleRange.h"

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

void scaleLuma(const AVFrame& frame, const PlaneView& to) {
  libyuv::ScalePlane(frame.data[0], frame.linesize[0], frame.width, frame.height, to.base,
                     to.stride, to.width, to.height, libyuv::kFilterBilinear);
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

}  // namespace

CVPixelBufferRef PictureConverter::convert(const AVFrame& frame) {
  if (frame.width < 2 || frame.height < 2) {
    return nullptr;
  }
  CVPixelBufferRef picture = pool_.take();
  if (picture == nullptr) {
    return nullptr;
  }
  if (!fill(frame, picture)) {
    CVPixelBufferRelease(picture);
    return nullptr;
  }
  CVBufferSetAttachment(picture, kCVImageBufferYCbCrMatrixKey, matrixOf(frame));
  return picture;
}

bool PictureConverter::fill(const AVFrame& frame, CVPixelBufferRef picture) {
  const bool direct = isScaledDirectly(frame.format);
  if (!direct && !toPlanar(frame)) {
    return false;
  }
  const AVFrame& source = direct ? frame : *planar_;
  const PlaneView luma = planeOf(picture, 0);
  scaleLuma(source, luma);
  if (!scaleChroma(source, picture)) {
    return false;
  }
  if (direct && isFullRange(frame)) {
    const PlaneView chroma = planeOf(picture, 1);
    lumaToVideoRange(luma.base, luma.stride, luma.width, luma.height);
    chromaToVideoRange(chroma.base, chroma.stride, 2 * chroma.width, chroma.height);
  }
  return true;
}

bool PictureConverter::scaleChroma(const AVFrame& frame, CVPixelBufferRef picture) {
  const PlaneView to = planeOf(picture, 1);
  const int width = (frame.width + 1) / 2;
  const int height = (frame.height + 1) / 2;
  if (frame.format == AV_PIX_FMT_NV12) {
    return libyuv::UVScale(frame.data[1], frame.linesize[1], width, height, to.base, to.stride,
                           to.width, to.height, libyuv::kFilterBilinear) == 0;
  }
  if (width == to.width && height == to.height) {
    libyuv::MergeUVPlane(frame.data[1], frame.linesize[1], frame.data[2], frame.linesize[2],
                         to.base, to.stride, width, height);
    return true;
  }
  pairs_.resize(static_cast<std::size_t>(2 * width) * static_cast<std::size_t>(height));
  libyuv::MergeUVPlane(frame.data[1], frame.linesize[1], frame.data[2], frame.linesize[2],
                       pairs_.data(), 2 * width, width, height);
  return libyuv::UVScale(pairs_.data(), 2 * width, width, height, to.base, to.stride, to.width,
                         to.height, libyuv::kFilterBilinear) == 0;
}

// At the frame's own size, so that all frames are scaled alike; the range is converted on the way.
bool PictureConverter::toPlanar(const AVFrame& frame) {
  if (!prepareConversion(frame)) {
    return false;
  }
  return sws_scale(scaler_.get(), frame.data, frame.linesize, 0, frame.height, planar_->data,
                   planar_->linesize) == frame.height;
}

bool PictureConverter::prepareConversion(const AVFrame& frame) {
  const AVPixelFormat format = withoutRange(frame.format);
  if (sws_isSupportedInput(format) == 0) {
    return false;
  }
  if (!planar_ || planar_->width != frame.width || planar_->height != frame.height) {
    planar_.reset(av_frame_alloc());
    if (!planar_) {
      return false;
    }
    planar_->format = AV_PIX_FMT_YUV420P;
    planar_->width = frame.width;
    planar_->height = frame.height;
    if (av_frame_get_buffer(planar_.get(), 0) < 0) {
      planar_.reset();
      return false;
    }
  }
  scaler_.reset(sws_getCachedContext(scaler_.release(), frame.width, frame.height, format,
                                     frame.width, frame.height, AV_PIX_FMT_YUV420P, SWS_BILINEAR,
                                     nullptr, nullptr, nullptr));
  const int* const coefficients = sws_getCoefficients(SWS_CS_DEFAULT);
  return scaler_ &&
         sws_setColorspaceDetails(scaler_.get(), coefficients, isFullRange(frame) ? 1 : 0,
                                  coefficients, 0, 0, 1 << 16, 1 << 16) >= 0;
}

}  // namespace quorvid
