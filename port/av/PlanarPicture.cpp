#include "port/PlanarPicture.h"

#include <libyuv.h>

#include <new>

#include "port/av/AvFrames.h"

namespace quorvid {
namespace {

struct Planes {
  explicit Planes(CVPixelBufferRef picture) {
    for (std::size_t i = 0; i < 3; ++i) {
      base[i] = CVPixelBufferGetBaseAddressOfPlane(picture, i);
      stride[i] = static_cast<int>(CVPixelBufferGetBytesPerRowOfPlane(picture, i));
    }
    width = static_cast<int>(CVPixelBufferGetWidth(picture));
    height = static_cast<int>(CVPixelBufferGetHeight(picture));
  }
  const std::uint8_t* base[3];
  int stride[3];
  int width, height;
};

bool isFullRange(CVPixelBufferRef picture) {
  return CVPixelBufferGetPixelFormatType(picture) == kCVPixelFormatType_420YpCbCr8PlanarFullRange;
}

// Of the converter that is given Cr in the place of Cb, and writes red first for it.
const libyuv::YuvConstants& mirroredConstantsOf(CVPixelBufferRef picture) {
  const Text matrix = CVBufferGetAttachment(picture, kCVImageBufferYCbCrMatrixKey);
  const bool isFull = isFullRange(picture);
  if (matrix == Text(kCVImageBufferYCbCrMatrix_ITU_R_601_4)) {
    return isFull ? libyuv::kYvuJPEGConstants : libyuv::kYvuI601Constants;
  }
  if (matrix == Text(kCVImageBufferYCbCrMatrix_ITU_R_2020)) {
    return isFull ? libyuv::kYvuV2020Constants : libyuv::kYvu2020Constants;
  }
  return isFull ? libyuv::kYvuF709Constants : libyuv::kYvuH709Constants;
}

}  // namespace

bool planarToNv12(CVPixelBufferRef picture, std::vector<std::uint8_t>& bytes) try {
  if (CVPixelBufferGetPlaneCount(picture) != 3) return false;
  const Planes from(picture);
  const int pairs = (from.width + 1) / 2, rows = (from.height + 1) / 2;
  const std::size_t lumaSize = static_cast<std::size_t>(from.width) * from.height;
  bytes.resize(lumaSize + static_cast<std::size_t>(2 * pairs) * rows);
  std::uint8_t* const chroma = bytes.data() + lumaSize;
  libyuv::I420ToNV12(from.base[0], from.stride[0], from.base[1], from.stride[1], from.base[2],
                     from.stride[2], bytes.data(), from.width, chroma, 2 * pairs, from.width,
                     from.height);
  if (isFullRange(picture)) {
    lumaToVideoRange(bytes.data(), from.width, from.width, from.height);
    chromaToVideoRange(chroma, 2 * pairs, 2 * pairs, rows);
  }
  return true;
} catch (const std::bad_alloc&) {
  return false;
}

bool planarToRgb(CVPixelBufferRef picture, std::vector<std::uint8_t>& bytes) try {
  if (CVPixelBufferGetPlaneCount(picture) != 3) return false;
  const Planes from(picture);
  bytes.resize(static_cast<std::size_t>(from.width) * from.height * 3);
  return libyuv::I420ToRGB24Matrix(from.base[0], from.stride[0], from.base[2], from.stride[2],
                                   from.base[1], from.stride[1], bytes.data(), 3 * from.width,
                                   &mirroredConstantsOf(picture), from.width, from.height) == 0;
} catch (const std::bad_alloc&) {
  return false;
}

}  // namespace quorvid
