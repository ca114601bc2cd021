#include "capi/Picture.h"

#include <utility>

#include "capi/Guard.h"

namespace quorvid::capi {
namespace {

std::int32_t matrixOf(CVPixelBufferRef buffer) {
  const Text matrix = CVBufferGetAttachment(buffer, kCVImageBufferYCbCrMatrixKey);
  if (matrix == Text(kCVImageBufferYCbCrMatrix_ITU_R_601_4)) return QUORVID_BT601;
  if (matrix == Text(kCVImageBufferYCbCrMatrix_SMPTE_240M_1995)) return QUORVID_SMPTE240;
  if (matrix == Text(kCVImageBufferYCbCrMatrix_ITU_R_2020)) return QUORVID_BT2020;
  return QUORVID_BT709;
}

quorvid_image describe(const quorvid_picture& picture, std::int32_t format) {
  quorvid_image image = QUORVID_IMAGE_INIT;
  image.format = format;
  image.width = picture.width;
  image.height = picture.height;
  image.shape = picture.shape;
  image.number = picture.played.number;
  image.arrival = picture.played.arrival;
  image.arrival_date = picture.played.arrivalDate;
  if (picture.played.buffer != nullptr) image.matrix = matrixOf(picture.played.buffer.get());
  return image;
}

void setDecodedPlanes(CVPixelBufferRef buffer, quorvid_image& image) {
  for (std::size_t i = 0; i < std::size(image.plane); ++i) {
    image.plane[i] = CVPixelBufferGetBaseAddressOfPlane(buffer, i);
    image.stride[i] = static_cast<std::int32_t>(CVPixelBufferGetBytesPerRowOfPlane(buffer, i));
  }
  image.full_range =
      CVPixelBufferGetPixelFormatType(buffer) == kCVPixelFormatType_420YpCbCr8PlanarFullRange;
}

using Copy = bool (*)(const PlayedPicture& picture, std::vector<std::uint8_t>& bytes);

// Converts unless that was done before.
bool provide(const PlayedPicture& picture, Copy copy, quorvid_picture::Bytes& bytes) {
  if (bytes != nullptr) return true;
  std::vector<std::uint8_t> made;
  if (!copy(picture, made)) return false;
  bytes = std::make_shared<const std::vector<std::uint8_t>>(std::move(made));
  return true;
}

std::int32_t setPlanes(quorvid_picture& picture, quorvid_image& image) {
  CVPixelBufferRef const buffer = picture.played.buffer.get();
  if (image.format == QUORVID_RGB) {
    if (!provide(picture.played, copyAsRgb, picture.rgb)) return QUORVID_NO_RESOURCES;
    image.plane[0] = picture.rgb->data();
    image.stride[0] = 3 * image.width;
  } else if (buffer == nullptr) {
    return QUORVID_NO_PICTURE;
  } else if (image.format == QUORVID_I420) {
    setDecodedPlanes(buffer, image);
  } else {
    if (!provide(picture.played, copyAsNv12, picture.nv12)) return QUORVID_NO_RESOURCES;
    image.plane[0] = picture.nv12->data();
    image.stride[0] = image.width;
    image.plane[1] = picture.nv12->data() + static_cast<std::size_t>(image.width) * image.height;
    image.stride[1] = (image.width + 1) / 2 * 2;
  }
  return QUORVID_OK;
}

}  // namespace

std::unique_ptr<quorvid_picture> pictureOf(PlayedPicture played) {
  auto picture = std::make_unique<quorvid_picture>();
  const CGSize shown = CVImageBufferGetDisplaySize(played.buffer.get());
  picture->width = static_cast<int>(CVPixelBufferGetWidth(played.buffer.get()));
  picture->height = static_cast<int>(CVPixelBufferGetHeight(played.buffer.get()));
  picture->shape = shown.height > 0 ? shown.width / shown.height : 0;
  picture->played = std::move(played);
  return picture;
}

std::unique_ptr<quorvid_picture> pictureOf(LivePicture snapshot) {
  auto picture = std::make_unique<quorvid_picture>();
  picture->width = snapshot.width;
  picture->height = snapshot.height;
  picture->shape = static_cast<double>(snapshot.width) / snapshot.height;
  picture->rgb = std::make_shared<const std::vector<std::uint8_t>>(std::move(snapshot.rgb));
  return picture;
}

}  // namespace quorvid::capi

using namespace quorvid::capi;

std::int32_t quorvid_picture_read(quorvid_picture* picture, std::int32_t format,
                                  quorvid_image* image) {
  if (picture == nullptr || !hasSize(image) || format < QUORVID_I420 || format > QUORVID_RGB) {
    return QUORVID_BAD_ARGUMENT;
  }
  return guarded([&] {
    quorvid_image full = describe(*picture, format);
    const std::int32_t result = setPlanes(*picture, full);
    return result == QUORVID_OK ? writeStruct(full, image) : result;
  });
}

quorvid_picture* quorvid_picture_keep(const quorvid_picture* picture) {
  if (picture == nullptr) return nullptr;
  return guardedPointer([&] { return std::make_unique<quorvid_picture>(*picture).release(); });
}

void quorvid_picture_free(quorvid_picture* picture) {
  const std::unique_ptr<quorvid_picture> last(picture);
}
