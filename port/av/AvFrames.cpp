#include "port/av/AvFrames.h"

#include <cstddef>
#include <cstdint>
#include <utility>

#include "quorvid/base/PixelBuffer.h"

namespace quorvid {
namespace {

constexpr int kTallestStandardDefinition = 576;

// Numerator and zero point in 1/65536: with + half, the shift rounds to the nearest value.
struct SampleScale {
  std::uint32_t factor, offset;
};
constexpr SampleScale kLumaScale{219 * 65536 / 255, (16U << 16) + 32768 + 128};
// 128 stays 128.
constexpr SampleScale kChromaScale{224 * 65536 / 255,
                                   (128U << 16) - 128U * (224 * 65536 / 255) + 32768};

void toVideoRange(const SampleScale& scale, std::uint8_t* base, int stride, int width, int height) {
  for (int row = 0; row < height; ++row) {
    std::uint8_t* const samples = base + static_cast<std::ptrdiff_t>(row) * stride;
    for (int i = 0; i < width; ++i) {
      samples[i] = static_cast<std::uint8_t>((samples[i] * scale.factor + scale.offset) >> 16);
    }
  }
}

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

bool isScaledDirectly(const AVFrame& frame) {
  return frame.format == AV_PIX_FMT_YUV420P || frame.format == AV_PIX_FMT_YUVJ420P ||
         frame.format == AV_PIX_FMT_NV12;
}

AVPixelFormat convertibleFormat(const AVFrame& frame) {
  const AVPixelFormat format = withoutRange(frame.format);
  const AVPixFmtDescriptor* const description = av_pix_fmt_desc_get(format);
  const bool isYCbCr = description != nullptr && description->nb_components == 3 &&
                       (description->flags & AV_PIX_FMT_FLAG_RGB) == 0;
  return isYCbCr && sws_isSupportedInput(format) != 0 ? format : AV_PIX_FMT_NONE;
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

void lumaToVideoRange(std::uint8_t* base, int stride, int width, int height) {
  toVideoRange(kLumaScale, base, stride, width, height);
}

void chromaToVideoRange(std::uint8_t* base, int stride, int width, int height) {
  toVideoRange(kChromaScale, base, stride, width, height);
}

}  // namespace quorvid
