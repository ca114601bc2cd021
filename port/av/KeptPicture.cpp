#include "port/av/KeptPicture.h"

#include <new>

namespace quorvid {

OSStatus convertFrame(PictureConverter& converter, const AVFrame& frame, const StreamShapes& shapes,
                      CVPixelBufferRef& picture) {
  picture = converter.convert(frame);
  if (picture == nullptr) return kVTVideoDecoderMalfunctionErr;
  CVImageBufferSetStreamShape(picture, shapes.encoded, shapes.display);
  return noErr;
}

bool VTKeptPicture::keep(const AVFrame& frame, const StreamShapes& shapes) {
  letGo();
  const std::lock_guard lock(mutex_);
  shapes_ = shapes;
  return frame_ != nullptr && av_frame_ref(frame_.get(), &frame) == 0;
}

void VTKeptPicture::letGo() {
  const std::lock_guard lock(mutex_);
  CVPixelBufferRelease(std::exchange(picture_, nullptr));
  status_ = noErr;
  if (frame_ != nullptr) av_frame_unref(frame_.get());
}

bool VTKeptPicture::convert() {
  const std::lock_guard lock(mutex_);
  return convertLocked();
}

OSStatus VTKeptPicture::copyPicture(CVPixelBufferRef& picture) {
  const std::lock_guard lock(mutex_);
  convertLocked();
  picture = std::exchange(picture_, nullptr);
  return status_;
}

bool VTKeptPicture::convertLocked() {
  if (frame_ == nullptr || frame_->buf[0] == nullptr) return false;
  try {
    status_ = convertFrame(*converter_, *frame_, shapes_, picture_);
  } catch (const std::bad_alloc&) {
    status_ = kVTAllocationFailedErr;
  }
  av_frame_unref(frame_.get());
  return picture_ != nullptr;
}

}  // namespace quorvid
